#include "extension/KPKelpieSync.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "archive/KeyedUnarchiver.h"
#include "archive/ReadingBudget.h"
#include "extension/ActionForwarder.h"
#include "extension/ControllerRoutes.h"
#include "extension/FolderRegistry.h"
#include "extension/MessageLink.h"
#include "extension/ObservationQueue.h"
#include "extension/PresenceMonitor.h"
#include "extension/RepositoryLookup.h"
#include "extension/RepositoryRoutes.h"
#include "extension/Route.h"
#include "foundation/ObjectView.h"
#include "platform/Log.h"
#include "protocol/MessageKeys.h"
#include "refs/ReferenceClasses.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPBadge.h"
#include "status/KPRepository.h"

namespace kelpie {

namespace {

// Enough for the enumeration of many repositories at once; the system's own default is not.
constexpr std::uint64_t kOpenFiles = 10240;

bool raiseOpenFilesLimit(ResourceLimits& limits) {
  std::optional<OpenFilesLimit> limit = limits.openFilesLimit();
  if (!limit) return false;
  limit->soft = kOpenFiles;
  return limits.setOpenFilesLimit(*limit);
}

void removeStaleKeys(UserDefaults& defaults) {
  defaults.removeObject(kPrivateKeysUrlsKey);
  for (const auto& [key, value] : defaults.dictionaryRepresentation().entries()) {
    const std::string name = key.stringValue();
    const auto isPrefix = [&](std::string_view prefix) { return name.starts_with(prefix); };
    if (std::ranges::any_of(kStaleKeyPrefixes, isPrefix)) defaults.removeObject(name);
  }
}

// Calls a completion, if there still is one, on every way out: building an answer to a message may
// raise.
struct Report {
  LocalMessagePort::Completion& done;

  explicit Report(LocalMessagePort::Completion& completion) : done(completion) {}
  ~Report() {
    if (done) done();
  }
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;
};

// A message up to this length is handled at once, since handling it takes a few milliseconds
// whatever it says.
constexpr std::size_t kLongMessage = std::size_t{64} << 10U;
// What may be read of a message on the main thread, where menus are built.
constexpr std::uint64_t kMainThreadUnits =
    ReadingBudget::kFreeUnits + ReadingBudget::kUnitsPerByte * kLongMessage;

// The memory that an entry of one of the controller's tables takes beyond its texts.
constexpr std::uint64_t kTableEntry = 512;

std::vector<URL> urlsOf(const ObjectView& urls) {
  std::vector<URL> result;
  urls.forEachElement([&result](const ObjectView& element) {
    const std::optional<URL> url = element.toObject().url();
    if (url && element.charge(kTableEntry + url->path().size())) result.push_back(*url);
    return true;
  });
  return result;
}

// What a message is about, and the call of the operation that it names. Any thread.
struct SelectorMessage {
  explicit SelectorMessage(Object message)
      : content(std::move(message)), selector(content[kMessageSelectorKey].string()) {}

  template <class T>
  void carryOut(Call<T> call, T& target, Log& log) const {
    const Object argument = content[kMessageArgumentKey];
    if (content.isRefused())
      log.write("A message says more than its bytes can hold; dropped.");
    else
      call(target, argument);
  }

  Object content;
  std::optional<std::string> selector;  // missing in what is no message
};

}  // namespace

void KPKelpieSync::initialize(const Platform& platform) {
  for (const KPBadge::Entry& badge : KPBadge::badges())
    platform.finder.setBadgeImage(badge.image, "", badge.identifier);
  removeStaleKeys(platform.defaults.standardDefaults());
  registerReferenceClasses();
}

std::unique_ptr<KPKelpieSync> KPKelpieSync::create(const Platform& platform,
                                                   KPUserDefaults& defaults) {
  if (!raiseOpenFilesLimit(platform.limits)) return nullptr;
  // The constructor is private, so make_unique cannot reach it.
  std::unique_ptr<KPKelpieSync> controller(
      new KPKelpieSync(platform, defaults));  // NOLINT(cppcoreguidelines-owning-memory)
  controller->start();
  return controller;
}

KPKelpieSync::KPKelpieSync(const Platform& platform, KPUserDefaults& defaults)
    : platform_(platform),
      defaults_(defaults),
      link_(std::make_shared<MessageLink>(platform_)),
      registry_(std::make_shared<FolderRegistry>(platform_, defaults, link_)),
      observerQueue_(std::make_unique<ObservationQueue>(registry_)),
      presence_(std::make_unique<PresenceMonitor>(
          platform_, defaults, link_, registry_,
          // Messages that it still had on its way must not mix with those of the next application.
          [this](std::int32_t pid) {
            if (receivingPort_ != nullptr) receivingPort_->dropMessagesOf(pid);
          })),
      actions_(std::make_unique<ActionForwarder>(*this, platform_.files)),
      menus_(*this, platform_, defaults) {}

void KPKelpieSync::start() {
  receivingPort_ =
      link_->setupMessageListener([this](std::int32_t id, std::shared_ptr<const Bytes> message,
                                         LocalMessagePort::Completion done) {
        receiveMessage(id, std::move(message), std::move(done));
      });
  updateFolders();
  updateApplicationRunning();
  // A change may still be on its way, on another thread, while the observation is let go.
  if (UserDefaults* const shared = defaults_.sharedApplicationGroupDefaults()) {
    foldersObservation_ =
        shared->observe(kFoldersPathsKey, [registry = registry_] { registry->updateFolders(); });
  }
  runningObservation_ = platform_.notifications.addObserver(
      kApplicationRunningNotification,
      [this](const std::string& /*object*/) { updateApplicationRunning(); });
}

KPKelpieSync::~KPKelpieSync() {
  runningObservation_.reset();
  foldersObservation_.reset();
  link_->setPort(nullptr);
}

// -- The file manager's callbacks -----------------------------------------------------------------

void KPKelpieSync::beginObservingDirectoryAtURL(const URL& url) {
  observerQueue_->post(
      [registry = registry_, url] { registry->beginObservingDirectoryAtURL(url); });
}

void KPKelpieSync::endObservingDirectoryAtURL(const URL& url) {
  observerQueue_->post([registry = registry_, url] { registry->endObservingDirectoryAtURL(url); });
}

void KPKelpieSync::requestBadgeIdentifierForURL(const URL& url) {
  observerQueue_->requestBadge(url);
}

// -- Menus and actions ----------------------------------------------------------------------------

std::optional<Menu> KPKelpieSync::menuForMenuKind(FIMenuKind kind) {
  thread_.check();
  return menus_.menuForMenuKind(kind);
}

bool KPKelpieSync::performAction(const MenuItem& item) {
  thread_.check();
  const Call<KPKelpieSync> call = item.action ? controllerRoutes().find(*item.action) : nullptr;
  if (call == nullptr) return false;
  call(*this, Object(std::shared_ptr<const Archivable>(std::make_shared<const MenuItem>(item))));
  return true;
}

void KPKelpieSync::remoteRepositoryAction(const Object& sender) {
  thread_.check();
  actions_->remoteRepositoryAction(sender);
}

void KPKelpieSync::applicationAction(const Object& sender) {
  thread_.check();
  actions_->applicationAction(sender);
}

void KPKelpieSync::clone() {
  thread_.check();
  actions_->clone();
}

void KPKelpieSync::createRepository() {
  thread_.check();
  actions_->createRepository();
}

// -- The main application -------------------------------------------------------------------------

void KPKelpieSync::updateFolders() { registry_->updateFolders(); }

void KPKelpieSync::updateApplicationRunning() {
  thread_.check();
  presence_->updateApplicationRunning();
}

void KPKelpieSync::setApplicationPid(std::int32_t pid) {
  thread_.check();
  presence_->setApplicationPid(pid);
}

// Messages that an ended application still had on its way would set badges that are never removed.
void KPKelpieSync::openRepositoryWithUrls(const Object& urls) {
  thread_.check();
  if (registry_->hasApplicationEnded()) return;
  if (!urls.isArray() || urls.size() == 0) return;
  const std::optional<URL> working = urls.at(0).url();
  const std::optional<URL> git = urls.at(urls.size() - 1).url();
  if (!working || !git) return;
  const std::optional<URL> workingUrl = platform_.files.fileReferenceUrl(*working);
  const std::optional<URL> gitUrl = platform_.files.fileReferenceUrl(*git);
  if (!workingUrl || !gitUrl) return;
  const std::optional<FileIdentifier> identifier = workingUrl->identifier(platform_.files);
  if (!identifier) return;
  const std::shared_ptr<KPRepository> held = registry_->repositories().find(*identifier);
  if (held != nullptr && held->isInPlace(platform_.files)) {
    if (held->hasMoved(platform_.files) || registry_->isFormerPlace(held->rootPath())) {
      ++repositoryOpenings_;
      observerQueue_->post([registry = registry_, identifier = *identifier] {
        registry->relocateRepository(identifier);
      });
    }
    return;
  }
  ++repositoryOpenings_;
  observerQueue_->post([registry = registry_,
                        opening = FolderRegistry::Opening{*workingUrl, *gitUrl, *identifier,
                                                          registry_->repositories().clearings()}] {
    registry->openRepository(opening);
  });
}

// A message that led to work on the observer queue is done when that work has run: the sender's
// next message is about the repository that is opened there.
void KPKelpieSync::receiveMessage(std::int32_t id, std::shared_ptr<const Bytes> message,
                                  LocalMessagePort::Completion done) {
  const Report report{done};
  if (id != kExtensionMessage) return;
  const std::uint64_t openings = repositoryOpenings_;
  handleSelectorMessage(std::move(message));
  if (openings != repositoryOpenings_) observerQueue_->post(std::exchange(done, nullptr));
}

// A message that names neither an operation of the controller nor one of an open repository is
// dropped. That includes the status and references of a repository that is not open yet: the main
// application sends them again once it is.
void KPKelpieSync::handleSelectorMessage(std::shared_ptr<const Bytes> message) {
  thread_.check();
  if (message == nullptr) return;
  const SelectorMessage head(KeyedUnarchiver::open(message, kMainThreadUnits));
  if (!head.selector) return;
  if (const Call<KPKelpieSync> call = controllerRoutes().find(*head.selector)) {
    head.carryOut(call, *this, platform_.log);
    return;
  }
  const Call<KPRepository> call = repositoryRoutes().find(*head.selector);
  if (call == nullptr) return;
  const std::optional<FileIdentifier> target =
      FileIdentifier::fromObject(head.content[kMessageTargetKey]);
  const auto repository = target ? registry_->repositories().find(*target) : nullptr;
  if (repository == nullptr) return;
  if (message->size() <= kLongMessage && !repository->hasWaitingMessages()) {
    head.carryOut(call, *repository, platform_.log);
    return;
  }
  repository->handleLater(
      [message = std::move(message), call, &log = platform_.log](KPRepository& self) {
        SelectorMessage(KeyedUnarchiver::open(message)).carryOut(call, self, log);
      });
}

bool KPKelpieSync::isRefused(const Object& argument) const {
  if (!argument.isRefused()) return false;
  platform_.log.write("A property that says more than its message's bytes can hold is not set.");
  return true;
}

// -- Properties -----------------------------------------------------------------------------------

const RepositoryTable& KPKelpieSync::repositories() const { return registry_->repositories(); }

void KPKelpieSync::setRepositories() {
  thread_.check();
  registry_->repositories().clear();
}

std::shared_ptr<const ObservedPaths> KPKelpieSync::allObservedFiles() const {
  return registry_->allObservedFiles();
}

void KPKelpieSync::setAllObservedFiles(const Object& files) {
  thread_.check();
  const auto changed = std::make_shared<ObservedPaths>();
  ObjectView(files).forEachEntry([&](const ObjectView& key, const ObjectView& paths) {
    const std::optional<FileIdentifier> folder = FileIdentifier::fromObject(key.toObject());
    if (!folder || paths.kind() != Object::Kind::Set ||
        !paths.charge(kTableEntry + folder->bytes().size()))
      return true;
    const std::shared_ptr<PathSet> set = changed->findOrCreate(*folder);
    paths.forEachElement([&set](const ObjectView& element) {
      if (const std::optional<std::string> path = element.pathBytes()) set->add(*path);
      return true;
    });
    return true;
  });
  if (!isRefused(files)) registry_->setAllObservedFiles(changed);
}

const FolderTables& KPKelpieSync::folders() const { return registry_->folders(); }

void KPKelpieSync::setInactiveObservedFiles(const Object& folders) {
  thread_.check();
  FolderTables::InactiveFolders changed;
  ObjectView(folders).forEachEntry([&](const ObjectView& key, const ObjectView& urls) {
    const std::optional<FileIdentifier> parent = FileIdentifier::fromObject(key.toObject());
    if (parent && urls.kind() == Object::Kind::Set &&
        urls.charge(kTableEntry + parent->bytes().size()))
      changed.emplace_back(*parent, urlsOf(urls));
    return true;
  });
  if (!isRefused(folders)) registry_->folders().setInactiveFolders(changed);
}

void KPKelpieSync::setObservedDirectories(const Object& urls) {
  thread_.check();
  const std::vector<URL> changed =
      urls.kind() == Object::Kind::Set ? urlsOf(urls) : std::vector<URL>();
  if (isRefused(urls)) return;
  registry_->folders().clearObservedDirectories();
  for (const URL& url : changed)
    registry_->folders().addObservedDirectory(url, url.identifier(platform_.files));
}

std::shared_ptr<RemoteMessagePort> KPKelpieSync::port() const { return link_->port(); }

void KPKelpieSync::setPort(std::shared_ptr<RemoteMessagePort> port) {
  thread_.check();
  link_->setPort(std::move(port));
}

std::optional<std::string> KPKelpieSync::portName() const { return link_->portName(); }

void KPKelpieSync::setPortName(const Object& name) {
  thread_.check();
  link_->setPortName(name.string());
}

std::shared_ptr<ProcessMonitor> KPKelpieSync::monitor() const {
  thread_.check();
  return presence_->monitor();
}

void KPKelpieSync::setMonitor(std::shared_ptr<ProcessMonitor> monitor) {
  thread_.check();
  presence_->setMonitor(std::move(monitor));
}

void KPKelpieSync::setSenderObjects(const Object& objects) {
  thread_.check();
  SenderObjects changed;
  ObjectView(objects).forEachEntry([&changed](const ObjectView& key, const ObjectView& object) {
    if (key.kind() == Object::Kind::String && key.charge(kTableEntry))
      changed.set(key.stringValue(), object.toObject().whole());
    return true;
  });
  if (!isRefused(objects)) senderObjects_ = std::move(changed);
}

void KPKelpieSync::setTargetURLs(const Object& urls) {
  thread_.check();
  std::vector<URL> changed = urls.isArray() ? urlsOf(urls) : std::vector<URL>();
  if (!isRefused(urls)) targetURLs_ = std::move(changed);
}

// -- MenuHost -------------------------------------------------------------------------------------

std::int32_t KPKelpieSync::applicationPid() const { return registry_->applicationPid(); }

std::shared_ptr<KPRepository> KPKelpieSync::repositoryForURL(const URL& url,
                                                             const FileSystem& files) const {
  return RepositoryLookup(registry_->repositories(), files).repositoryForURL(url);
}

std::vector<std::shared_ptr<KPRepository>> KPKelpieSync::repositoriesForURLs(
    const std::vector<URL>& urls, const FileSystem& files) const {
  RepositoryLookup lookup(registry_->repositories(), files);
  std::vector<std::shared_ptr<KPRepository>> found;
  for (const URL& url : urls) {
    std::shared_ptr<KPRepository> repository = lookup.repositoryForURL(url);
    if (repository != nullptr && std::ranges::find(found, repository) == found.end())
      found.push_back(std::move(repository));
  }
  return found;
}

void KPKelpieSync::sendMessage(const Dictionary& message, std::int32_t id) {
  link_->sendMessage(message, id);
}

void KPKelpieSync::setTargetURLs(std::vector<URL> urls) {
  thread_.check();
  targetURLs_ = std::move(urls);
}

}  // namespace kelpie
