#include "agent/sessions/RepositorySession.h"

#include <atomic>
#include <utility>

namespace kelpie::agent {
namespace {

// After a reading that failed, git is asked once more: it may have met the user's own git at work.
constexpr std::chrono::milliseconds kSecondLook{500};
// A failure that stays for so many readings concerns the user.
constexpr int kFailuresToTell = 2;

// Of all sessions of the process, so that no two share one in a port's letters.
std::uint64_t nextNumber() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

std::string_view selectorOf(std::size_t index) {
  return index == 0 ? RepositoryMessages::kStatus
                    : RepositoryMessages::referenceSelector(index - 1);
}

}  // namespace

RepositorySession::RepositorySession(const SessionServices& services,
                                     const WorkingCopy& workingCopy, FileIdentifier identifier,
                                     bool wasTaken, Callbacks callbacks)
    : services_(services),
      workingCopy_(workingCopy),
      number_(nextNumber()),
      wasTaken_(wasTaken),
      callbacks_(std::move(callbacks)),
      messages_(std::make_shared<const RepositoryMessages>(workingCopy, std::move(identifier))),
      statusLane_(services.loop, services.slots, ReadingSlots::Urgency::LaterStatus,
                  [this] { readStatus(); }),
      referencesLane_(services.loop, services.slots, ReadingSlots::Urgency::References,
                      [this] { readReferences(); }),
      proof_(services.loop, workingCopy.root, services.proofTime, [this] { prove(); }) {
  parts_ =
      services.makeParts(services, workingCopy, messages_,
                         {[this](Change change, const std::string& path) { changed(change, path); },
                          [this] { watchIncomplete(); }});
  statusLane_.changed();
  referencesLane_.changed();
}

// A lane that goes gives its slot to the next one, which must not be the other lane of this.
RepositorySession::~RepositorySession() {
  statusLane_.setWanted(false);
  referencesLane_.setWanted(false);
  parts_.status->cancel();
  parts_.references->cancel();
}

// -- The extensions -------------------------------------------------------------------------------

void RepositorySession::open(const std::shared_ptr<ExtensionPort>& port, const std::string& folder,
                             bool shallow, bool again) {
  thread_.check();
  Subscriber& subscriber = subscribe(port);
  if (again) subscriber.early.lookAgain(folder);
  // The extension has just been told all there is to tell.
  if (!again && subscriber.early.isEcho(folder)) return;
  if (subscriber.folders.size() < EarlyFolders::kMaximum) subscriber.folders.insert(folder);
  refresh(subscriber);
  subscriber.wantsReferences |= !shallow;
  subscriber.isToOpen = true;
  if (!shallow && !std::exchange(isShown_, true))
    statusLane_.setUrgency(ReadingSlots::Urgency::Status);
  tell(subscriber);
  updateWanted();
  // What cannot be watched is looked at when somebody looks.
  if (!parts_.watch->isComplete()) changed({true, true});
}

bool RepositorySession::isOpenFor(const std::string& portName, const std::string& folder) const {
  thread_.check();
  const auto found = subscribers_.find(portName);
  return found != subscribers_.end() && found->second.folders.contains(folder);
}

void RepositorySession::setNeighbour(bool isNeighbour) {
  thread_.check();
  if (std::exchange(isNeighbour_, isNeighbour) != isNeighbour) parts_.watch->setModest(isNeighbour);
}

void RepositorySession::withdraw() {
  thread_.check();
  const auto steps = messages_->withdrawal(services_.files);
  for (auto& [name, subscriber] : subscribers_)
    for (const auto& [selector, message] : steps)
      if (subscriber.isOpen) subscriber.port->post({number_, selector}, message);
}

void RepositorySession::unshallow(const std::shared_ptr<ExtensionPort>& port) {
  thread_.check();
  Subscriber& subscriber = subscribe(port);
  subscriber.wantsReferences = true;
  subscriber.isToOpen |= !subscriber.isOpen;
  tell(subscriber);
  updateWanted();
}

void RepositorySession::distrust(const std::string& portName) {
  thread_.check();
  const auto found = subscribers_.find(portName);
  if (found == subscribers_.end()) return;
  found->second.told.fill(0);
  found->second.isOpen = false;
  found->second.early.reset();
  found->second.folders.clear();
}

void RepositorySession::tellAgain(const std::string& portName) {
  thread_.check();
  const auto found = subscribers_.find(portName);
  if (found == subscribers_.end()) return;
  found->second.told.fill(0);
  found->second.early.tellAgain();
  found->second.isToOpen |= std::exchange(found->second.isOpen, false);
  tell(found->second);
}

void RepositorySession::forget(const std::string& portName) {
  thread_.check();
  if (subscribers_.erase(portName) == 0) return;
  updateWanted();
  if (!subscribers_.empty()) return;
  idleTimer_ = services_.loop.callAfter(services_.idleTime, [this] {
    // It goes with this.
    const auto closed = callbacks_.closed;
    closed(false);
  });
}

RepositorySession::Subscriber& RepositorySession::subscribe(
    const std::shared_ptr<ExtensionPort>& port) {
  idleTimer_.reset();
  // What a reading that runs was begun for, and what one that failed was to find, is not known.
  if (subscribers_.empty())
    wasUnwanted_ |= statusLane_.isBehind() || statusLane_.isReading() || !places_.isEmpty();
  Subscriber& subscriber =
      subscribers_.try_emplace(port->name(), Subscriber{port, EarlyFolders(workingCopy_.root), {}})
          .first->second;
  subscriber.port = port;
  return subscriber;
}

// An extension that knows the status is told it again for what it may have made of it before the
// folder was shown. A host that shows a thousand folders asks for each, and the status may be
// large.
void RepositorySession::refresh(Subscriber& subscriber) {
  subscriber.isToRefresh = subscriber.isOpen && subscriber.refreshPause != nullptr;
  if (subscriber.isToRefresh) return;
  subscriber.told[0] = 0;
  if (!subscriber.isOpen) return;
  subscriber.refreshPause = services_.loop.callAfter(kRefreshPause, [this, &subscriber] {
    subscriber.refreshPause.reset();
    if (!subscriber.isToRefresh) return;
    refresh(subscriber);
    tell(subscriber);
  });
}

void RepositorySession::updateWanted() {
  bool references = false;
  for (const auto& [name, subscriber] : subscribers_) references |= subscriber.wantsReferences;
  statusLane_.setWanted(!subscribers_.empty());
  referencesLane_.setWanted(references);
}

bool RepositorySession::update(std::size_t index, Message message) {
  Telling& telling = tellings_.at(index);
  if (message == nullptr || isSameMessage(telling.message, message)) return false;
  telling.message = std::move(message);
  ++telling.revision;
  return true;
}

bool RepositorySession::hasStatus() const {
  return tellings_.front().revision != 0 && !wasUnwanted_;
}

void RepositorySession::tell(Subscriber& subscriber) {
  if (subscriber.isToOpen && hasStatus()) {
    subscriber.port->post({number_, RepositoryMessages::kOpening}, messages_->opening());
    if (wasTaken_)
      for (const auto& [selector, message] : messages_->restoration())
        subscriber.port->post({number_, selector}, message);
    subscriber.isOpen = true;
    subscriber.isToOpen = false;
  }
  if (!subscriber.isOpen) return;
  const std::size_t wanted = subscriber.wantsReferences ? kMessages : 1;
  for (std::size_t i = 0; i < wanted; ++i) {
    const Telling& telling = tellings_.at(i);
    if (subscriber.told.at(i) == telling.revision) continue;
    subscriber.told.at(i) = telling.revision;
    subscriber.port->post({number_, selectorOf(i)}, telling.message);
  }
  // A second look finds the right badges now.
  for (const std::string& folder : subscriber.early.beginSecondLooks())
    subscriber.port->post({number_, RepositoryMessages::kLookAgain, folder},
                          messages_->lookAgain(folder));
}

void RepositorySession::tellAll() {
  for (auto& [name, subscriber] : subscribers_) tell(subscriber);
}

// -- The working copy -----------------------------------------------------------------------------

void RepositorySession::changed(Change change, const std::string& path) {
  if (change.status) {
    places_.add(path);
    isToProve_ = false;
    proof_.changed();
    statusLane_.changed();
  }
  if (change.references) referencesLane_.changed();
  namesChanged_ |= change.names;
  placeChanged_ |= change.place;
}

// A status that nobody wants would only be out of date sooner.
void RepositorySession::prove() {
  if (subscribers_.empty()) return;
  isToProve_ = !statusLane_.isBehind();
  places_.addEverything();
  statusLane_.changed();
}

void RepositorySession::readStatus() {
  StatusReadings::Question question{std::exchange(placeChanged_, false), status_,
                                    std::exchange(places_, {}), std::exchange(isToProve_, false)};
  // Where changes go unseen, each look is to find them.
  if (!parts_.watch->isComplete()) question.places.addEverything();
  parts_.status->start(std::move(question),
                       [this](StatusReadings::Result result) { statusRead(std::move(result)); });
}

void RepositorySession::statusRead(StatusReadings::Result result) {
  if (result.vanished) return vanished();
  if (result.snapshot == nullptr) {
    placeChanged_ |= result.question.find;
    places_.addEverything();
    failed(statusFailure_, "its status cannot be read", result.failure);
    return statusLane_.finished(false);
  }
  statusFailure_ = {};
  wasUnwanted_ = false;
  held(result);
  status_ = std::move(result.snapshot);
  const bool foundSomething = update(0, std::move(result.message));
  // The same status makes an extension forget what it has concluded from it for items that have
  // other names now. Once, when they have come to rest.
  const bool isQuiet = !statusLane_.isBehind();
  if (namesChanged_ && isQuiet && !foundSomething) ++tellings_.front().revision;
  if (isQuiet) namesChanged_ = false;
  tellAll();
  // The lane first: what the watch finds new leads to one more reading.
  statusLane_.finished(foundSomething);
  parts_.watch->follow(*status_, result.trackedFolders);
  watchSettings(result.settingsFiles);
}

// What was read is held to the whole, sooner or later.
void RepositorySession::held(const StatusReadings::Result& result) {
  if (result.whole.empty()) return proof_.partsRead();
  if (!result.question.isProof) return proof_.wholeRead();
  proof_.proved(statusLane_.isBehind() ? std::string() : result.difference);
}

// Such a file may also say what the references are worth, such as where a branch is to be pushed.
void RepositorySession::watchSettings(const std::vector<std::string>& files) {
  if (files == settingsFiles_) return;
  settingsFiles_ = files;
  settingsWatch_.reset();
  if (files.empty()) return;
  const auto changed = [this] { this->changed({true, true}); };
  settingsWatch_ = std::make_unique<SettingsWatch>(
      services_.loop, services_.queues, services_.names,
      SettingsWatch::Callbacks{[files] { return files; }, changed, changed});
}

void RepositorySession::readReferences() {
  parts_.references->start(
      [this](ReferencesReadings::Result result) { referencesRead(std::move(result)); });
}

void RepositorySession::referencesRead(ReferencesReadings::Result result) {
  if (result.snapshot == nullptr) {
    failed(referencesFailure_, "its references cannot be read", result.failure);
    return referencesLane_.finished(false);
  }
  referencesFailure_ = {};
  references_ = std::move(result.snapshot);
  bool foundSomething = false;
  for (std::size_t i = 0; i < result.messages.size(); ++i)
    foundSomething |= update(i + 1, std::move(result.messages[i]));
  if (foundSomething) tellAll();
  referencesLane_.finished(foundSomething);
  parts_.watch->followReferences();
}

// One log line for each failure, however often it is met, and one notice for one that stays. What
// the extensions know remains.
void RepositorySession::failed(Failure& failure, const char* what, const std::string& why) {
  const std::string text = workingCopy_.root + ": " + what + ": " + why;
  if (failure.inARow == 0 || failure.why != why) services_.loop.log().write(text);
  failure.why = why;
  if (++failure.inARow == kFailuresToTell)
    services_.notifier.notify("A git repository cannot be read", text);
  if (failure.inARow < kFailuresToTell)
    secondLook_ = services_.loop.callAfter(kSecondLook, [this] { changed({true, true}); });
}

void RepositorySession::vanished() {
  services_.loop.log().write(workingCopy_.root + ": the repository is not there any more, closed");
  withdraw();
  const auto closed = callbacks_.closed;
  closed(true);
}

// Some of a neighbour's badges would come to be wrong: better none.
void RepositorySession::watchIncomplete() {
  if (isNeighbour_) {
    withdraw();
    const auto closed = callbacks_.closed;
    return closed(false);
  }
  services_.loop.log().write(
      workingCopy_.root +
      ": it has more folders than can be watched (fs.inotify.max_user_watches); changes in the "
      "rest are seen when a folder of it is opened");
}

}  // namespace kelpie::agent
