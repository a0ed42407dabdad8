#include "agent/sessions/SessionSimulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "agent/git/StatusMerge.h"
#include "agent/sessions/SessionParts.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"
#include "protocol/StatusWord.h"

namespace kelpie::agent {
namespace {

constexpr const char* kRoot = "/code/r";
constexpr std::array<const char*, 2> kExtensions = {"g.Sync.11", "g.Sync.12"};
constexpr std::array<const char*, 5> kFiles = {"a", "b", "d/a", "d/b", "d/e/a"};
constexpr std::array<const char*, 3> kFolders = {"/code/r", "/code/r/d", "/code/r/d/e"};
constexpr std::array<StatusWord, 3> kWords = {KPStatusCurrent, KPStatusWorkdirModified,
                                              KPStatusIndexModified};
constexpr std::array<const char*, 4> kQueues = {"org.kelpie.Kelpie.SendingQueue", "status",
                                                "references", "walk"};
// More than any schedule takes to come to rest.
constexpr int kMostTasks = 100'000;

Message messageOf(const std::string& text) {
  const ByteView bytes = bytesOf(text);
  return std::make_shared<const Bytes>(bytes.begin(), bytes.end());
}

std::string textOfStatus(const std::map<std::string, StatusWord>& words) {
  std::string text = "status";
  for (const auto& [file, word] : words)
    if (word != KPStatusCurrent) text += " " + file + "=" + std::to_string(word);
  return text;
}

// Whether the places hold the file: its entry or one above it has changed.
bool holds(const ChangedPlaces& places, std::string_view file) {
  if (places.isEverything()) return true;
  for (std::string_view path = file;;) {
    const std::size_t slash = path.rfind('/');
    const bool isInRoot = slash == std::string_view::npos;
    const auto folder = places.folders().find(isInRoot ? "" : path.substr(0, slash));
    if (folder != places.folders().end() &&
        (folder->second.areMany || folder->second.names.contains(path.substr(slash + 1))))
      return true;
    if (isInRoot) return false;
    path = path.substr(0, slash);
  }
}

}  // namespace

// -- Git ------------------------------------------------------------------------------------------

std::string SimulatedRepository::statusText() const { return textOfStatus(words); }

// A git that looks at one half of the files, and then at the other, and at what it was asked for
// alone; so of all else the answer says what was known before.
class SessionSimulation::Status final : public StatusReadings,
                                        public std::enable_shared_from_this<Status> {
 public:
  explicit Status(SessionSimulation& simulation)
      : simulation_(simulation), queue_(simulation.queues_.makeQueue("status")) {}

  void start(Question question, std::function<void(Result)> done) override {
    EXPECT_FALSE(isRunning_) << "two readings of the status at once";
    isRunning_ = true;
    question_ = std::move(question);
    done_ = std::move(done);
    simulation_.events_.add(isWhole() ? "git is asked for everything" : "git is asked for parts");
    post(queue_, [this] {
      seen_ = known();
      told_ = simulation_.repository_.changesTold;
      look(0, kFiles.size() / 2);
      post(queue_, [this] {
        look(kFiles.size() / 2, kFiles.size());
        post(simulation_.queues_.mainQueue(), [this, result = std::make_shared<Result>(result())] {
          isRunning_ = false;
          simulation_.events_.add(result->message == nullptr
                                      ? "git has failed"
                                      : "git has said: " + std::string(textOf(*result->message)));
          SimulatedRepository& repository = simulation_.repository_;
          if (result->message != nullptr)
            repository.readings[std::string(textOf(*result->message))] = {
                told_, ++repository.readingsMade};
          done_(std::move(*result));
        });
      });
    });
  }
  void cancel() override { isCancelled_ = true; }

 private:
  void post(const std::shared_ptr<SerialQueue>& queue, const std::function<void()>& task) {
    queue->post([self = shared_from_this(), task] {
      if (!self->isCancelled_) task();
    });
  }

  bool isWhole() const { return question_.known == nullptr || question_.places.isEverything(); }

  std::map<std::string, StatusWord> known() const {
    std::map<std::string, StatusWord> words;
    for (const char* file : kFiles) words[file] = KPStatusCurrent;
    if (question_.known != nullptr)
      for (const StatusItem& item : question_.known->items()) words[item.path] = item.word;
    return words;
  }

  void look(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i)
      if (isWhole() || holds(question_.places, kFiles.at(i)))
        seen_[kFiles.at(i)] = simulation_.repository_.words.at(kFiles.at(i));
  }

  Result result() {
    const SimulatedRepository& repository = simulation_.repository_;
    Result result;
    result.question = question_;
    result.vanished = repository.isGone;
    if (repository.gitFails) result.failure = "fatal: no";
    if (repository.isGone || repository.gitFails) return result;
    std::vector<StatusItem> items;
    for (const auto& [path, word] : seen_)
      if (word != KPStatusCurrent) items.push_back({path, "", word, false, false, false});
    if (isWhole()) result.whole = "everything was asked for";
    if (question_.isProof && question_.known != nullptr)
      result.difference = differenceBetween(question_.known->items(), items);
    result.snapshot = std::make_shared<const StatusSnapshot>(kRoot, RepositoryState::None,
                                                             std::move(items), true);
    result.message = messageOf(textOfStatus(seen_));
    return result;
  }

  SessionSimulation& simulation_;
  std::shared_ptr<SerialQueue> queue_;
  bool isCancelled_ = false;
  bool isRunning_ = false;
  Question question_;
  std::function<void(Result)> done_;
  std::map<std::string, StatusWord> seen_;
  std::size_t told_ = 0;
};

class SessionSimulation::References final : public ReferencesReadings,
                                            public std::enable_shared_from_this<References> {
 public:
  explicit References(SessionSimulation& simulation)
      : simulation_(simulation), queue_(simulation.queues_.makeQueue("references")) {}

  void start(std::function<void(Result)> done) override {
    EXPECT_FALSE(isRunning_) << "two readings of the references at once";
    isRunning_ = true;
    queue_->post([self = shared_from_this(), done = std::move(done)] {
      if (self->isCancelled_) return;
      const auto result = std::make_shared<Result>(self->result());
      self->simulation_.queues_.mainQueue()->post([self, result, done] {
        if (self->isCancelled_) return;
        self->isRunning_ = false;
        done(std::move(*result));
      });
    });
  }
  void cancel() override { isCancelled_ = true; }

 private:
  Result result() const {
    Result result;
    if (simulation_.repository_.gitFails) {
      result.failure = "fatal: no";
      return result;
    }
    result.snapshot = std::make_shared<const ReferencesSnapshot>();
    result.messages[0] = messageOf(simulation_.repository_.referencesText());
    return result;
  }

  SessionSimulation& simulation_;
  std::shared_ptr<SerialQueue> queue_;
  bool isCancelled_ = false;
  bool isRunning_ = false;
};

// -- The watch ------------------------------------------------------------------------------------

// One that sees nothing until its walk after the first status, and tells of what it sees as a task
// of the main queue.
class SessionSimulation::Watch final : public WorkingCopyWatch {
 public:
  Watch(SessionSimulation& simulation, Callbacks callbacks)
      : simulation_(simulation),
        callbacks_(std::move(callbacks)),
        queue_(simulation.queues_.makeQueue("walk")) {
    simulation_.watch_ = this;
  }
  ~Watch() override {
    if (simulation_.watch_ == this) simulation_.watch_ = nullptr;
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  void follow(const StatusSnapshot& /*status*/,
              const std::optional<std::vector<std::string>>& /*trackedFolders*/) override {
    if (std::exchange(isFollowing_, true)) return;
    queue_->post([this, alive = std::weak_ptr<bool>(alive_)] {
      if (alive.expired()) return;
      isWatching_ = true;
      // What has happened until now went unseen.
      tell({.status = true, .references = true}, "");
    });
  }
  void followReferences() override {}
  void setModest(bool /*modest*/) override {}
  bool isComplete() const override { return isComplete_; }

  void happened(Change change, const std::string& path) {
    if (!isWatching_ || (!isComplete_ && simulation_.chance(2))) return;
    tell(change, path);
  }
  void reachLimit() {
    simulation_.queues_.mainQueue()->post([this, alive = std::weak_ptr<bool>(alive_)] {
      if (alive.expired() || !std::exchange(isComplete_, false)) return;
      const auto limitReached = callbacks_.limitReached;  // it may let go of this
      limitReached();
    });
  }

 private:
  void tell(Change change, const std::string& path) {
    simulation_.queues_.mainQueue()->post(
        [this, alive = std::weak_ptr<bool>(alive_), change, path] {
          if (alive.expired()) return;
          if (change.status) ++simulation_.repository_.changesTold;
          simulation_.events_.add("the watch tells of " + (path.empty() ? "anything" : path));
          callbacks_.changed(change, path);
        });
  }

  SessionSimulation& simulation_;
  Callbacks callbacks_;
  std::shared_ptr<SerialQueue> queue_;
  bool isFollowing_ = false;
  bool isWatching_ = false;
  bool isComplete_ = true;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

// -- The ports ------------------------------------------------------------------------------------

class SessionSimulation::Remote final : public RemoteMessagePort {
 public:
  Remote(SessionSimulation& simulation, std::string name)
      : simulation_(simulation),
        name_(std::move(name)),
        connection_(simulation.extensions_.at(name_).connection) {}

  std::int32_t send(std::int32_t /*id*/, const Bytes& message,
                    std::chrono::milliseconds /*sendTimeout*/,
                    std::chrono::milliseconds /*receiveTimeout*/) override {
    const Extension& extension = simulation_.extensions_.at(name_);
    if (!extension.isListening || extension.connection != connection_) return kIsInvalid;
    if (!extension.isReading) return kSendTimeout;
    simulation_.received(name_, message);
    return kSuccess;
  }

 private:
  SessionSimulation& simulation_;
  const std::string name_;
  const int connection_;
};

class SessionSimulation::Ports final : public MessagePorts {
 public:
  explicit Ports(SessionSimulation& simulation) : simulation_(simulation) {}

  std::unique_ptr<LocalMessagePort> createLocal(std::string_view /*name*/,
                                                LocalMessagePort::Handler /*handler*/) override {
    return nullptr;
  }
  std::shared_ptr<RemoteMessagePort> createRemote(std::string_view name) override {
    const std::string text(name);
    if (!simulation_.extensions_.at(text).isListening) return nullptr;
    return std::make_shared<Remote>(simulation_, text);
  }

 private:
  SessionSimulation& simulation_;
};

// -- The schedule ---------------------------------------------------------------------------------

SessionSimulation::SessionSimulation(unsigned seed)
    : random_(seed), ports_(std::make_unique<Ports>(*this)) {
  for (const char* file : kFiles) {
    files_->addFile(std::string(kRoot) + "/" + file);
    repository_.words[file] = KPStatusCurrent;
  }
  const std::string git = std::string(kRoot) + "/.git";
  files_->addFolder(git);
  workingCopy_ = {kRoot, git, git, false};
  for (const char* name : kExtensions) extensions_[name].isListening = false;
  slots_ = std::make_shared<ReadingSlots>(loop_, 1 + random_() % 2);
}

SessionSimulation::~SessionSimulation() {
  session_.reset();
  for (auto& [name, extension] : extensions_) extension.port.reset();
}

SessionParts SessionSimulation::makeParts(WorkingCopyWatch::Callbacks callbacks) {
  return {std::make_shared<Status>(*this), std::make_shared<References>(*this),
          std::make_unique<Watch>(*this, std::move(callbacks))};
}

void SessionSimulation::openSession() {
  if (session_ != nullptr) return;
  session_ = std::make_unique<RepositorySession>(
      services(slots_,
               [this](const SessionServices&, const WorkingCopy&,
                      const std::shared_ptr<const RepositoryMessages>&,
                      WorkingCopyWatch::Callbacks callbacks) {
                 return makeParts(std::move(callbacks));
               }),
      workingCopy_, *URL::fileURLWithPath(kRoot).identifier(*files_), wasTaken_,
      RepositorySession::Callbacks{[this](bool isGone) { sessionClosed(isGone); }});
  if (chance(4)) session_->setNeighbour(true);
}

void SessionSimulation::sessionClosed(bool isGone) {
  events_.add(isGone ? "closed: gone" : "closed");
  wasTaken_ = wasTaken_ || isGone || session_->isUsed();
  session_.reset();
}

void SessionSimulation::show(const std::string& name, const std::string& folder, bool shallow,
                             bool again) {
  Extension& extension = extensions_.at(name);
  if (!extension.isListening || repository_.isGone) return;
  if (extension.port == nullptr) extension.port = connect(name);
  openSession();
  events_.add(name + " shows " + folder + (shallow ? ", shallow" : "") + (again ? ", again" : ""));
  if (!session_->isUsed()) {
    extension.askedFirst = {repository_.changesTold, repository_.readingsMade};
    extension.isAnswered = false;
  }
  extension.wantsReferences |= !shallow;
  session_->open(extension.port, folder, shallow, again);
}

void SessionSimulation::launch(const std::string& name) {
  noticeTheEnd(name);
  Extension& extension = extensions_.at(name);
  const int connection = extension.connection;
  extension = {};
  extension.connection = connection + 1;
}

std::shared_ptr<ExtensionPort> SessionSimulation::connect(const std::string& name) {
  return std::make_shared<ExtensionPort>(
      ExtensionPort::Services{loop_, queues_, *ports_}, name, ports_->createRemote(name),
      ExtensionPort::Callbacks{[this](const std::string& gone) { noticeTheEnd(gone); },
                               [this](const std::string& port) { renewed(port); }});
}

void SessionSimulation::renewed(const std::string& name) {
  events_.add("the connection to " + name + " was made anew");
  if (session_ != nullptr) session_->tellAgain(name);
}

void SessionSimulation::noticeTheEnd(const std::string& name) {
  const std::string owned = name;  // it may be the port's own
  events_.add("the end of " + owned + " is noticed");
  if (session_ != nullptr) session_->forget(owned);
  extensions_.at(owned).port.reset();
}

void SessionSimulation::quit(const std::string& name) {
  events_.add(name + " ends");
  Extension& extension = extensions_.at(name);
  extension.isListening = false;
  ++extension.connection;
}

void SessionSimulation::run(int steps) {
  for (int i = 0; i < steps; ++i) step();
}

void SessionSimulation::changeFiles() {
  const std::string file = kFiles.at(random_() % kFiles.size());
  repository_.words[file] = kWords.at(random_() % kWords.size());
  events_.add("change of " + file);
  const bool isAnywhere = chance(8);
  if (isAnywhere) repository_.words[kFiles.front()] = kWords.at(random_() % kWords.size());
  if (watch_ != nullptr)
    watch_->happened({.status = true, .names = chance(4)}, isAnywhere ? "" : file);
}

void SessionSimulation::changeExtension(const std::string& name) {
  Extension& extension = extensions_.at(name);
  const std::string folder = kFolders.at(random_() % kFolders.size());
  switch (random_() % 9) {
    case 0:
      if (!extension.isListening) launch(name);
      break;
    case 1:
      if (chance(3)) quit(name);
      break;
    case 2:
      if (chance(3)) noticeTheEnd(name);
      break;
    case 3:
      extension.isReading = !extension.isReading;
      break;
    case 4:
      ++extension.connection;
      break;
    case 5:
      if (session_ != nullptr && extension.port != nullptr && session_->isUsed()) {
        session_->unshallow(extension.port);
        extension.wantsReferences = true;
      }
      break;
    default:
      show(name, folder, chance(2), chance(6));
  }
}

void SessionSimulation::step() {
  switch (random_() % 12) {
    case 0:
    case 1:
      return changeFiles();
    case 2:
      ++repository_.references;
      if (watch_ != nullptr) watch_->happened({.references = true}, "");
      return;
    case 3:
    case 4:
    case 5:
      return changeExtension(kExtensions.at(random_() % kExtensions.size()));
    case 6:
      if (chance(4)) repository_.gitFails = !repository_.gitFails;
      hasFailed_ |= repository_.gitFails;
      if (chance(24)) {
        repository_.isGone = !repository_.isGone;
        if (watch_ != nullptr) watch_->happened({.status = true, .place = true}, "");
      }
      return;
    case 7:
      if (chance(16) && watch_ != nullptr) watch_->reachLimit();
      if (chance(4) && session_ != nullptr) session_->setNeighbour(chance(2));
      if (chance(8) && session_ != nullptr) session_->readAgain();
      return;
    case 8:
      loop_.runNextTimer();
      return;
    default:
      runOneTask();
  }
}

bool SessionSimulation::runOneTask() {
  std::vector<ManualQueue*> busy;
  if (queues_.main().pending() != 0) busy.push_back(&queues_.main());
  for (const char* label : kQueues)
    for (ManualQueue* queue : queues_.withLabel(label))
      if (queue->pending() != 0) busy.push_back(queue);
  if (busy.empty()) return false;
  busy.at(random_() % busy.size())->runOne();
  return true;
}

void SessionSimulation::settle() {
  for (int i = 0; i < kMostTasks; ++i)
    if (!runOneTask() && !loop_.runNextTimer()) return;
  ADD_FAILURE() << "it does not come to rest";
}

// -- What extensions are told ---------------------------------------------------------------------

void SessionSimulation::received(const std::string& name, const Bytes& message) {
  Extension& extension = extensions_.at(name);
  const std::string text(textOf(message));
  if (text.starts_with("status") || text.starts_with("references"))
    events_.add(name + " is told: " + text);
  if (text.starts_with("status"))
    receivedStatus(extension, text);
  else if (text.starts_with("references"))
    receivedReferences(extension, text);
  else
    receivedArchive(extension, name, message);
}

void SessionSimulation::receivedStatus(Extension& extension, const std::string& text) {
  EXPECT_TRUE(extension.isOpen) << "a status of a working copy that it does not know";
  const SimulatedRepository::Reading& reading = repository_.readings[text];
  EXPECT_TRUE(!extension.isAnswered || reading.changesTold >= extension.askedFirst.changesTold ||
              reading.number > extension.askedFirst.number)
      << "a status that was known to be out of date: " << text;
  if (extension.isAnswered) extension.askedFirst = {};
  extension.status = text;
}

void SessionSimulation::receivedReferences(Extension& extension, const std::string& text) {
  EXPECT_TRUE(extension.isOpen) << "references of a working copy that it does not know";
  extension.references = text;
}

void SessionSimulation::receivedArchive(Extension& extension, const std::string& name,
                                        const Bytes& bytes) {
  const Object message = KeyedUnarchiver::unarchiveObject(bytes);
  const std::string selector = message[kMessageSelectorKey].stringValue();
  events_.add(name + " is told: " + selector);
  if (selector == RepositoryMessages::kOpening) {
    extension.isOpen = true;
    extension.isAnswered = true;
  } else if (selector == RepositoryMessages::kIdentifier) {
    extension.isTaken = message[kMessageArgumentKey].isNil();
  } else if (selector == RepositoryMessages::kLookAgain) {
    EXPECT_TRUE(extension.isOpen);
    const std::string folder = message[kMessageArgumentKey].url()->path();
    queues_.mainQueue()->post([this, name, folder] { show(name, folder, false, false); });
  }
}

std::string SessionSimulation::history() const {
  std::string text;
  for (const std::string& event : events_.lines())
    if (!event.starts_with("queues.make")) text += event + "\n";
  return text;
}

// -- What must hold -------------------------------------------------------------------------------

void SessionSimulation::checkTheLastStatus() {
  repository_.gitFails = false;
  repository_.isGone = false;
  for (auto& [name, extension] : extensions_) extension.isReading = true;
  settle();
  events_.add("at the end");
  for (const char* name : kExtensions)
    if (!extensions_.at(name).isListening) launch(name);
  // The first message may tell that a connection has ended long ago. And what failed for long is
  // tried again when something changes, or somebody says so.
  const bool readsAgain = hasFailed_ || chance(2);
  for (int i = 0; i < 2; ++i) {
    for (const char* name : kExtensions) show(name, kRoot, false, false);
    if (readsAgain) session_->readAgain();
    settle();
  }
  for (const auto& [name, extension] : extensions_) {
    EXPECT_TRUE(extension.isOpen && !extension.isTaken) << name;
    EXPECT_EQ(extension.status, repository_.statusText()) << name;
    EXPECT_EQ(extension.references, repository_.referencesText()) << name;
  }
  for (const std::string& line : log_.lines())
    EXPECT_EQ(line.find("was wrong about items"), std::string::npos) << line;
}

void SessionSimulation::checkTheEnd() {
  for (const char* name : kExtensions) {
    quit(name);
    noticeTheEnd(name);
  }
  settle();
  EXPECT_EQ(session_, nullptr) << "nobody uses it, and it stays open";
  EXPECT_EQ(watch_, nullptr);
  EXPECT_EQ(slots_->running(), 0U) << "a ticket was not given back";
}

}  // namespace kelpie::agent
