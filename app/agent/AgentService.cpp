#include "agent/AgentService.h"

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Configuration.h"
#include "agent/AgentConfiguration.h"
#include "agent/PublishedSettings.h"
#include "agent/desktop/ToolCommands.h"
#include "agent/git/SettingsFiles.h"
#include "platform/linux/DefaultsFile.h"
#include "protocol/MessageKeys.h"
#include "settings/SettingsKeys.h"
#include "settings/TrustedRepositories.h"

namespace kelpie::agent {
namespace {

// How long after the system had no watcher to give it is asked again.
constexpr std::chrono::milliseconds kWatchAgain{2000};

// How long after the settings could not be written that is tried again.
constexpr std::chrono::milliseconds kPublishAgain{5000};

// How many gits run at a time: as many as the machine can use.
std::size_t readingsAtATime() { return std::max(4U, std::thread::hardware_concurrency()); }

std::string folderOf(const std::string& file) { return file.substr(0, file.rfind('/')); }

DefaultsFile fileIn(const RuntimeDirectory& runtime, std::string_view name) {
  return DefaultsFile(runtime.path() + "/" + std::string(name));
}

}  // namespace

AgentService::AgentService(MainLoop& loop, const SessionBus& bus,
                           DistributedNotificationCenter& notifications,
                           const RuntimeDirectory& runtime, std::function<void()> quit)
    : loop_(loop),
      ports_(loop, runtime.portsFolder()),
      notifications_(notifications),
      notifier_(bus.connection(), loop.log()),
      defaultsCenter_(loop, kApplicationIdentifier),
      defaults_(defaultsCenter_.defaultsWithSuiteName(kApplicationGroup)),
      withheld_(std::make_shared<WithheldNotices>(fileIn(runtime, kWithheldProgramsFile),
                                                  loop.log(), notifier_)),
      refused_(fileIn(runtime, kRefusedRepositoriesFile), loop.log()),
      configuration_(configuration()),
      watcher_(DirectoryWatcher::defaultLimit()),
      // A third of the part that is left to the user's other programs.
      names_(DirectoryWatcher::defaultLimit() / 9),
      pool_(loop.log(), readingsAtATime() + 2),
      queues_(loop, pool_),
      extensions_({loop, queues_, ports_}, std::string(kApplicationGroup)),
      registry_({loop, queues_, watcher_, names_, *files_, notifier_, configuration_.git,
                 std::make_shared<ReadingSlots>(loop, readingsAtATime()), std::chrono::minutes(10),
                 configuration_.neighbours,
                 [this](const std::string& folder, const std::string& failure) {
                   refused_.looked(folder, failure);
                 }}),
      settings_(loop, queues_, names_,
                {[git = configuration_.git] { return settingsFiles(git); },
                 [this] { registry_.readAgain(); }}),
      interface_(bus.connection(), loop.log(),
                 {[this] { return runner_.actions(); },
                  [this](std::uint64_t id) { return runner_.cancel(id); },
                  [this](const std::string& root) { runner_.withdrawUndo(root); },
                  [this](const std::string& path, const BusInterface::SummaryTeller& tell) {
                    summarise(path, tell);
                  }}),
      progress_(
          loop, notifier_,
          {[this] { return runner_.actions(); }, [this](std::uint64_t id) { runner_.cancel(id); }}),
      runner_(configuration_.means, queues_, loop.log(), notifier_,
              {[this, quit = std::move(quit)] {
                 interface_.flush();
                 quit();
               },
               {},
               [this](const ActionInfo& action) {
                 interface_.began(action);
                 progress_.began(action);
               },
               [this](const ActionInfo& action, const ActionOutcome& outcome) {
                 progress_.over(action);
                 interface_.over(action, outcome);
               }}),
      actions_(runner_, loop.log()),
      errors_(loop.log(), notifier_),
      peer_({loop.log(), extensions_, registry_, actions_, errors_}) {
  FileSystem::install(files_);
  notifier_.setListener(
      [this](const std::string& title, const std::string& text) { interface_.told(title, text); });
  // An extension that lives but does not answer any more is asked to present itself again.
  extensions_.setCallbacks({[this](const std::string& name) {
                              registry_.gone(name);
                              announce();
                            },
                            [this](const std::string& name) { registry_.renewed(name); }});
}

std::shared_ptr<ProgramGuard> AgentService::makeGuard(const GitCommand& git) const {
  ProgramGuard::Callbacks callbacks;
  callbacks.trusted = [defaults = defaults_] {
    return defaults == nullptr
               ? std::vector<std::string>()
               : TrustedRepositories::fromObject(defaults->objectForKey(kTrustedRepositoriesKey))
                     .paths();
  };
  callbacks.withheld = [main = loop_.queue(), notices = std::weak_ptr(withheld_)](
                           const std::string& root, const std::vector<std::string>& programs) {
    main->post([notices, root, programs] {
      if (const auto present = notices.lock()) present->changed(root, programs);
    });
  };
  return std::make_shared<ProgramGuard>(git, std::move(callbacks));
}

AgentService::Configuration AgentService::configuration() const {
  const std::string file = AgentConfiguration::file();
  std::vector<std::string> problems;
  const AgentConfiguration settings = AgentConfiguration::read(file, problems);
  const GitCommand plain(settings.gitProgram, "/");
  const GitCommand git = plain.guardedBy(makeGuard(plain));
  ToolCommands tools = ToolCommands::read(file, problems);
  // An unreadable file makes each part report the error.
  problems.erase(std::unique(problems.begin(), problems.end()), problems.end());
  for (const std::string& problem : problems) loop_.log().write(problem);
  return {git, {git, std::move(tools), folderOf(file)}, settings.neighbours};
}

bool AgentService::start() {
  watchChanges();
  if (!peer_.listen(ports_, kApplicationGroup)) return false;
  appMessages_ =
      notifications_.addObserver(kAppMessageNotification, [this](const std::string& message) {
        if (!errors_.showJson(message)) loop_.log().write("an error without a text, dropped");
      });
  if (defaults_ != nullptr)
    trusting_ = defaults_->observe(kTrustedRepositoriesKey, [this] { registry_.readAgain(); });
  publish();
  registry_.checkGit();
  announce();
  return true;
}

// Also what was shown before is watched as soon as that can be: its watchers are told.
void AgentService::watchChanges() {
  const auto watches = [this](DirectoryWatcher& watcher,
                              std::unique_ptr<MainLoop::Source>& source) {
    if (source == nullptr && watcher.open())
      source = loop_.watch(watcher.descriptor(), G_IO_IN,
                           [&watcher](GIOCondition) { watcher.dispatch(); });
    return source != nullptr;
  };
  const bool watchesFolders = watches(watcher_, watching_);
  if (watches(names_, watchingNames_) && watchesFolders) return watchingAgain_.reset();
  if (!std::exchange(saidUnwatched_, true))
    loop_.log().write("changes of files cannot be watched: too many watchers of this user");
  watchingAgain_ = loop_.callAfter(kWatchAgain, [this] { watchChanges(); });
}

void AgentService::announce() {
  notifications_.post(kApplicationRunningNotification, kApplicationIdentifier);
}

void AgentService::summarise(const std::string& path, const BusInterface::SummaryTeller& tell) {
  const RepositorySession* session = registry_.holding(path);
  if (session == nullptr) return tell(std::nullopt);
  queues_.makeQueue("org.kelpie.Kelpie.Summary")
      ->post([tell, main = loop_.queue(), git = configuration_.git,
              workingCopy = session->workingCopy(), status = session->status(),
              hasReferences = session->references() != nullptr] {
        WorkingCopySummary summary = WorkingCopySummary::read(git, workingCopy, status.get());
        summary.hasReferences = hasReferences;
        main->post([tell, summary = std::move(summary)] { tell(summary); });
      });
}

// Without the version the extension takes no notice of this application, so that it is tried until
// it works.
void AgentService::publish() {
  const std::optional<DefaultsFile> file = DefaultsFile::ofSuite(kApplicationGroup);
  const std::optional<std::string> problem =
      file ? PublishedSettings(*file).publish(kVersion, g_get_home_dir())
           : "there is no folder for the settings";
  if (!problem) {
    if (std::exchange(publishingAgain_, nullptr) != nullptr) announce();
    return;
  }
  if (publishingAgain_ == nullptr) {
    loop_.log().write("settings: " + *problem);
    notifier_.notify("The settings cannot be written", *problem);
  }
  publishingAgain_ = loop_.callAfter(kPublishAgain, [this] { publish(); });
}

}  // namespace kelpie::agent
