#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "foundation/Dictionary.h"
#include "protocol/MessageKeys.h"
#include "protocol/StatusWord.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"
#include "support/FakePlatform.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

constexpr std::int32_t kPid = 700;

// The words of statuses on the way, and those of the last status of each working copy, which no
// other has. A status may have an entry for the folder as well: it is ignored.
constexpr int kWords[] = {0x0001, 0x0002, 0x0080, 0x8000};
struct Status {
  int word = 0;
  bool isFolderIgnored = false;
};
struct LastStatus {
  Status status;
  std::string badge;        // of the files
  std::string folderBadge;  // when the states of folders are shown
};
const std::map<std::string, LastStatus> kLast = {
    {"/code/a", {{0x0100, false}, "KPWorkdirModifiedBadge", "KPWorkdirModifiedBadge"}},
    {"/code/b", {{0x0200, true}, "KPWorkdirDeletedBadge", "KPIgnoredBadge"}},
};

// A file manager that lets other threads' work in after each badge.
class InterruptingFinder final : public FinderSyncController {
 public:
  explicit InterruptingFinder(FakeFinder& finder) : finder_(finder) {}
  std::function<void()> meanwhile = [] {};

  void setBadgeImage(const Image& image, std::string_view label,
                     std::string_view identifier) override {
    finder_.setBadgeImage(image, label, identifier);
  }
  void setBadgeIdentifier(std::string_view identifier, const URL& url) override {
    finder_.setBadgeIdentifier(identifier, url);
    meanwhile();
  }
  std::vector<URL> directoryURLs() const override { return finder_.directoryURLs(); }
  void setDirectoryURLs(std::vector<URL> urls) override {
    finder_.setDirectoryURLs(std::move(urls));
  }
  std::vector<URL> selectedItemURLs() const override { return finder_.selectedItemURLs(); }
  std::optional<URL> targetedURL() const override { return finder_.targetedURL(); }

 private:
  FakeFinder& finder_;
};

// One run of the controller: what the file manager, the main application and the user's own
// commands do, in an order that the seed gives, and the queues' work whenever the seed says so.
class Simulation {
 public:
  explicit Simulation(unsigned seed) : random_(seed) {
    fakes_.files->setReferencesFollow(seed % 2 == 1);
    for (const auto& [root, last] : kLast) make(root);
    launch();
    defaults_ = std::make_unique<KPUserDefaults>(platform_);
    controller_ = KPKelpieSync::create(platform_, *defaults_);
    finder_.meanwhile = [this] {
      if (depth_ < 2 && chance(8)) runOne();
    };
  }

  void run(int steps) {
    for (int i = 0; i < steps; ++i) {
      step();
      noteRepositories();
    }
  }

  // The application ends, and what was on its way arrives.
  void checkTheEnd() {
    endApplication();
    runAll();
    EXPECT_EQ(controller_->repositories().size(), 0U);
    for (const std::string& path : shownPaths())
      EXPECT_EQ(fakes_.finder.badgeFor(path).value_or("KPEmptyBadge"), "KPEmptyBadge") << path;
    for (const auto& repository : met_) EXPECT_TRUE(repository.expired()) << "it is still held";
  }

  // The application says what there is. No item may show anything else; and those that are asked
  // for once more show it.
  void checkTheLastStatus() {
    runAll();
    if (!isRunning_) launch();
    controller_->updateApplicationRunning();
    runAll();
    for (const auto& [root, last] : kLast) open(root);
    runAll();
    // Right behind others, and behind questions: what these lead to must not outlive it.
    for (const auto& [root, last] : kLast) {
      for (auto others = random_() % 3; others > 0; --others) {
        sendStatus(root, anyStatus());
        if (chance(2)) request(chance(2) ? folderOf(root) : anyItem());
        if (chance(2)) runOne();
      }
      sendStatus(root, last.status);
      if (chance(2)) request(folderOf(root));
    }
    runAll();
    checkBadges(true);
    for (const std::string& path : shownPaths()) request(path);
    runAll();
    checkBadges(false);
  }

 private:
  static std::vector<std::string> filesOf(const std::string& root) {
    return {root + "/x", root + "/y", root + "/sub/z"};
  }
  static std::string folderOf(const std::string& root) { return root + "/sub"; }

  bool chance(unsigned of) { return random_() % of == 0; }
  std::string anyRoot() { return chance(2) ? "/code/a" : "/code/b"; }
  std::string anyItem() {
    const std::string root = anyRoot();
    return chance(4) ? folderOf(root) : filesOf(root)[random_() % 3];
  }
  std::string anyFolder() { return chance(2) ? anyRoot() : folderOf(anyRoot()); }
  Status anyStatus() { return {kWords[random_() % std::size(kWords)], chance(2)}; }

  void step() {
    switch (random_() % 16) {
      case 0:
        return controller_->beginObservingDirectoryAtURL(URL::fileURLWithPath(anyFolder(), true));
      case 2:
      case 3:
        return request(anyItem());
      case 4:
        return isRunning_ ? open(anyRoot()) : void();
      case 5:
      case 6:
        return isRunning_ ? sendStatus(anyRoot(), anyStatus()) : void();
      case 7:
        return isRunning_ && chance(4) ? endApplication() : void();
      case 8:
        return isRunning_ ? void() : startApplication();
      case 9:
        return chance(3) ? changePlaces() : void();
      default:
        runOne();
    }
  }

  // -- What there is on disk ----------------------------------------------------------------------

  void make(const std::string& root) {
    fakes_.files->addFolder(root + "/.git");
    for (const std::string& file : filesOf(root)) fakes_.files->addFile(file);
  }

  void changePlaces() {
    if (chance(2)) {
      fakes_.files->move("/code/a", "/code/aside");
      fakes_.files->move("/code/b", "/code/a");
      fakes_.files->move("/code/aside", "/code/b");
    } else {
      const std::string root = anyRoot();
      fakes_.files->remove(root);
      make(root);
    }
  }

  // -- The file manager ---------------------------------------------------------------------------

  void request(const std::string& path) {
    controller_->requestBadgeIdentifierForURL(URL::fileURLWithPath(path));
  }

  // -- The main application -----------------------------------------------------------------------

  void launch() {
    isRunning_ = true;
    fakes_.groupDefaults().changeFromOutside("KPApplicationVersion", "1");
    showsFolders_ = chance(2);
    fakes_.groupDefaults().changeFromOutside("KPShowFolderGitStatus", showsFolders_);
    fakes_.applications.running["org.kelpie.Kelpie"] = {kPid};
    fakes_.messagePorts.setListening("group.org.kelpie.App", true);
  }
  void startApplication() {
    launch();
    fakes_.queues.main().post([this] { controller_->updateApplicationRunning(); });
  }
  // Of what it has sent, some arrives before its end is seen, and some after.
  void endApplication() {
    isRunning_ = false;
    fakes_.applications.running.clear();
    fakes_.messagePorts.setListening("group.org.kelpie.App", false);
    fakes_.processMonitors.fire(kPid);
    const std::string late = anyRoot();
    if (chance(2)) open(late);
    sendStatus(late, {kWords[0], false});
    runMain();
  }

  void deliver(std::string_view selector, const Object& argument, const std::string& root) {
    const auto message = std::make_shared<const Bytes>(
        KeyedArchiver::archivedData(Dictionary{{kMessageSelectorKey, selector},
                                               {kMessageArgumentKey, argument},
                                               {kMessageTargetKey, Object(identifierOf(root))}})
            .value());
    fakes_.queues.main().post([this, message] { controller_->handleSelectorMessage(message); });
  }
  FileIdentifier identifierOf(const std::string& path) const {
    return *URL::fileURLWithPath(path).identifier(*fakes_.files);
  }
  void open(const std::string& root) {
    deliver("openRepositoryWithUrls:",
            Objects{URL::fileURLWithPath(root, true), URL::fileURLWithPath(root + "/.git", true)},
            root);
  }
  void sendStatus(const std::string& root, Status status) {
    Dictionary entries;
    Objects dirty;
    for (const std::string& file : filesOf(root)) {
      entries.set(Object(identifierOf(file)), Objects{status.word, file});
      dirty.emplace_back(URL::fileURLWithPath(file));
    }
    Objects ignored;
    if (status.isFolderIgnored) {
      const std::string folder = folderOf(root);
      entries.set(Object(identifierOf(folder)), Objects{KPStatusIgnored, folder});
      ignored.emplace_back(URL::fileURLWithPath(folder, true));
    }
    deliver("setStatusInfo:",
            Dictionary{{"KPRepositoryStatus", Object(std::move(entries)).mutableCopy()},
                       {"KPStatusDirtyURLs", dirty},
                       {"KPStatusIgnoredURLs", ignored}},
            root);
  }

  // -- The queues ---------------------------------------------------------------------------------

  // The next task of the queue, which does not begin another one meanwhile.
  void runNext(ManualQueue& queue) {
    running_.insert(&queue);
    ++depth_;
    queue.runOne();
    --depth_;
    running_.erase(&queue);
  }

  std::vector<ManualQueue*> waiting() const {
    std::vector<ManualQueue*> queues;
    for (const char* label :
         {"main", "org.kelpie.Kelpie.Sync.ObserverQueue", "org.kelpie.Kelpie.Sync.UpdateQueue"}) {
      for (ManualQueue* queue : fakes_.queues.withLabel(label))
        if (queue->pending() != 0 && !running_.contains(queue)) queues.push_back(queue);
    }
    return queues;
  }

  // The next task of any queue that does not run already. False when there is none.
  bool runOne() {
    const std::vector<ManualQueue*> queues = waiting();
    if (queues.empty()) return false;
    runNext(*queues[random_() % queues.size()]);
    return true;
  }
  void runAll() {
    while (runOne()) {
    }
  }
  void runMain() {
    while (fakes_.queues.main().pending() != 0) runNext(fakes_.queues.main());
  }

  // -- What must be so ----------------------------------------------------------------------------

  void noteRepositories() {
    for (const auto& repository : *controller_->repositories().all()) met_.push_back(repository);
  }

  std::vector<std::string> shownPaths() const {
    std::vector<std::string> paths;
    for (const auto& set : controller_->allObservedFiles()->sets())
      for (const std::string& path : set->paths()) paths.push_back(path);
    return paths;
  }

  void checkBadges(bool mayBeBare) const {
    const std::vector<std::string> shown = shownPaths();
    const std::set<std::string> paths(shown.begin(), shown.end());
    const auto check = [&](const std::string& item, const std::string& expected) {
      if (!paths.contains(item)) return;
      const std::string badge = fakes_.finder.badgeFor(item).value_or("");
      if (mayBeBare && (badge.empty() || badge == "KPEmptyBadge")) return;
      EXPECT_EQ(badge, expected) << item;
    };
    for (const auto& [root, last] : kLast) {
      for (const std::string& file : filesOf(root)) check(file, last.badge);
      const bool hasEntry = last.status.isFolderIgnored;
      check(folderOf(root), hasEntry || showsFolders_ ? last.folderBadge : "KPEmptyBadge");
    }
  }

  std::mt19937 random_;
  FakePlatform fakes_;
  InterruptingFinder finder_{fakes_.finder};
  const Platform platform_ = fakes_.platformWith(finder_);
  std::unique_ptr<KPUserDefaults> defaults_;
  std::unique_ptr<KPKelpieSync> controller_;
  bool isRunning_ = false;
  bool showsFolders_ = false;
  int depth_ = 0;
  std::set<ManualQueue*> running_;
  std::vector<std::weak_ptr<KPRepository>> met_;
};

void simulate(unsigned seed) {
  SCOPED_TRACE("replay with KELPIE_SIMULATION_SEED=" + std::to_string(seed));
  Simulation simulation(seed);
  simulation.run(60);
  if (seed % 3 != 0) simulation.checkTheLastStatus();
  simulation.checkTheEnd();
}

std::optional<unsigned> numberIn(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? std::nullopt
                         : std::optional(static_cast<unsigned>(std::strtoul(text, nullptr, 10)));
}

// KELPIE_SIMULATION_SCHEDULES is for the long run: 100,000 take about 7 minutes.
TEST(Simulation, NoBadgeIsWrongWhateverTheOrder) {
  if (const auto seed = numberIn("KELPIE_SIMULATION_SEED")) return simulate(*seed);
  const unsigned schedules =
      numberIn("KELPIE_SIMULATION_SCHEDULES").value_or(kHasAddressSanitizer ? 200 : 3000);
  for (unsigned seed = 0; seed < schedules && !testing::Test::HasFailure(); ++seed) simulate(seed);
}

}  // namespace
}  // namespace kelpie
