#include "support/FakeMessagePorts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/MenuItem.h"
#include "foundation/Mutex.h"

namespace kelpie {

// An open local port.
struct FakeMessagePorts::Receiver {
  struct Message {
    std::int32_t id;
    std::shared_ptr<const Bytes> bytes;
  };
  struct Sender {
    std::deque<Message> waiting;
    bool busy = false;  // a message is on its way or not done yet
    bool isDropped = false;
  };
  std::string name;
  LocalMessagePort::Handler handler;
  std::map<std::int32_t, std::shared_ptr<Sender>> senders;  // by process id
};

struct FakeMessagePorts::State : std::enable_shared_from_this<FakeMessagePorts::State> {
  State(EventLog& log, std::shared_ptr<SerialQueue> queue)
      : events(log), mainQueue(std::move(queue)) {}

  EventLog& events;
  std::shared_ptr<SerialQueue> mainQueue;
  Mutex mutex;  // of the receivers' contents as well
  std::vector<std::shared_ptr<Receiver>> receivers KELPIE_GUARDED_BY(mutex);
  // By name, which of all the other processes' ports: none is the next one of its name.
  std::map<std::string, std::size_t, std::less<>> listening KELPIE_GUARDED_BY(mutex);
  std::size_t lastListening KELPIE_GUARDED_BY(mutex) = 0;
  std::int32_t sendStatus KELPIE_GUARDED_BY(mutex) = RemoteMessagePort::kSuccess;
  bool refusesLocal KELPIE_GUARDED_BY(mutex) = false;
  std::vector<SentMessage> sent KELPIE_GUARDED_BY(mutex);
  std::size_t handled KELPIE_GUARDED_BY(mutex) = 0;
  std::size_t done KELPIE_GUARDED_BY(mutex) = 0;
  std::int32_t sender KELPIE_GUARDED_BY(mutex) = 0;

  using Sender = std::shared_ptr<Receiver::Sender>;
  // Posts the sender's next message unless one is under way.
  void handOn(const std::shared_ptr<Receiver>& receiver, const Sender& from) KELPIE_REQUIRES(mutex);
  void handle(const std::shared_ptr<Receiver>& receiver, const Sender& from,
              const Receiver::Message& message);
};

void FakeMessagePorts::State::handOn(const std::shared_ptr<Receiver>& receiver,
                                     const Sender& from) {
  if (from->busy || from->waiting.empty() || receiver->handler == nullptr) return;
  from->busy = true;
  mainQueue->post([state = shared_from_this(), receiver, from, message = from->waiting.front()] {
    state->handle(receiver, from, message);
  });
  from->waiting.pop_front();
}

void FakeMessagePorts::State::handle(const std::shared_ptr<Receiver>& receiver, const Sender& from,
                                     const Receiver::Message& message) {
  LocalMessagePort::Handler handler;
  {
    const MutexLock lock(mutex);
    handler = receiver->handler;
    if (handler == nullptr || from->isDropped) return;
    ++handled;
  }
  auto calls = std::make_shared<std::atomic<int>>(0);
  handler(message.id, message.bytes, [state = shared_from_this(), receiver, from, calls] {
    if ((*calls)++ > 0) ADD_FAILURE() << "a message was reported to be done twice";
    const MutexLock lock(state->mutex);
    ++state->done;
    from->busy = false;
    state->handOn(receiver, from);
  });
}

class FakeMessagePorts::Local final : public LocalMessagePort {
 public:
  Local(std::shared_ptr<State> state, std::shared_ptr<Receiver> receiver)
      : state_(std::move(state)), receiver_(std::move(receiver)) {}
  ~Local() override {
    state_->events.add("ports.close " + receiver_->name);
    const MutexLock lock(state_->mutex);
    receiver_->handler = nullptr;
    std::erase(state_->receivers, receiver_);
  }
  Local(const Local&) = delete;
  Local& operator=(const Local&) = delete;

  void dropMessagesOf(std::int32_t pid) override {
    const MutexLock lock(state_->mutex);
    const auto found = receiver_->senders.find(pid);
    if (found == receiver_->senders.end()) return;
    found->second->isDropped = true;
    found->second->waiting.clear();
    receiver_->senders.erase(found);
  }

 private:
  std::shared_ptr<State> state_;
  std::shared_ptr<Receiver> receiver_;
};

namespace {

// What the event log says of a message.
std::string summaryOf(const Object& content) {
  if (const auto selector = content["KPMessageSelector"].string()) return *selector;
  const auto item = content["KPMessageSender"].as<MenuItem>();
  return item == nullptr ? "-" : item->action.value_or("-");
}

}  // namespace

class FakeMessagePorts::Remote final : public RemoteMessagePort {
 public:
  Remote(std::shared_ptr<State> state, std::string name, std::size_t number)
      : state_(std::move(state)), name_(std::move(name)), number_(number) {}
  ~Remote() override { state_->events.add("ports.release " + name_); }
  Remote(const Remote&) = delete;
  Remote& operator=(const Remote&) = delete;

  std::int32_t send(std::int32_t id, const Bytes& message, std::chrono::milliseconds sendTimeout,
                    std::chrono::milliseconds receiveTimeout) override {
    Object content = KeyedUnarchiver::unarchiveObject(message);
    state_->events.add("send " + name_ + " " + std::to_string(id) + " " + summaryOf(content));
    const MutexLock lock(state_->mutex);
    const auto found = state_->listening.find(name_);
    const bool isThere = found != state_->listening.end() && found->second == number_;
    const std::int32_t status = isThere ? state_->sendStatus : kIsInvalid;
    state_->sent.push_back(
        {name_, id, message, std::move(content), sendTimeout, receiveTimeout, status});
    return status;
  }

 private:
  std::shared_ptr<State> state_;
  std::string name_;
  std::size_t number_;
};

FakeMessagePorts::FakeMessagePorts(EventLog& events, std::shared_ptr<SerialQueue> mainQueue)
    : state_(std::make_shared<State>(events, std::move(mainQueue))) {}

FakeMessagePorts::~FakeMessagePorts() = default;

void FakeMessagePorts::setListening(std::string_view name, bool listening) {
  const MutexLock lock(state_->mutex);
  if (listening)
    state_->listening.try_emplace(std::string(name), ++state_->lastListening);
  else
    state_->listening.erase(std::string(name));
}

void FakeMessagePorts::failSends(std::int32_t status) {
  const MutexLock lock(state_->mutex);
  state_->sendStatus = status;
}

void FakeMessagePorts::refuseLocal(bool refuse) {
  const MutexLock lock(state_->mutex);
  state_->refusesLocal = refuse;
}

void FakeMessagePorts::setSender(std::int32_t pid) {
  const MutexLock lock(state_->mutex);
  state_->sender = pid;
}

void FakeMessagePorts::deliver(std::string_view name, std::int32_t id, Bytes message) {
  const MutexLock lock(state_->mutex);
  for (const auto& receiver : state_->receivers) {
    if (receiver->name != name) continue;
    auto& from = receiver->senders[state_->sender];
    if (from == nullptr) from = std::make_shared<Receiver::Sender>();
    from->waiting.push_back({id, std::make_shared<const Bytes>(std::move(message))});
    state_->handOn(receiver, from);
    return;
  }
}

void FakeMessagePorts::deliver(std::string_view name, std::int32_t id, const Object& content) {
  deliver(name, id, KeyedArchiver::archivedData(content).value_or(Bytes()));
}

std::vector<FakeMessagePorts::SentMessage> FakeMessagePorts::sent() const {
  const MutexLock lock(state_->mutex);
  return state_->sent;
}

void FakeMessagePorts::forgetSent() {
  const MutexLock lock(state_->mutex);
  state_->sent.clear();
}

std::vector<std::string> FakeMessagePorts::localNames() const {
  const MutexLock lock(state_->mutex);
  std::vector<std::string> names;
  for (const auto& receiver : state_->receivers) names.push_back(receiver->name);
  return names;
}

std::size_t FakeMessagePorts::handledMessages() const {
  const MutexLock lock(state_->mutex);
  return state_->handled;
}

std::size_t FakeMessagePorts::doneMessages() const {
  const MutexLock lock(state_->mutex);
  return state_->done;
}

std::unique_ptr<LocalMessagePort> FakeMessagePorts::createLocal(std::string_view name,
                                                                LocalMessagePort::Handler handler) {
  state_->events.add("ports.local " + std::string(name));
  const MutexLock lock(state_->mutex);
  const bool taken = std::any_of(state_->receivers.begin(), state_->receivers.end(),
                                 [name](const auto& receiver) { return receiver->name == name; });
  if (taken || state_->refusesLocal) return nullptr;
  auto receiver = std::make_shared<Receiver>();
  receiver->name = std::string(name);
  receiver->handler = std::move(handler);
  state_->receivers.push_back(receiver);
  return std::make_unique<Local>(state_, std::move(receiver));
}

std::shared_ptr<RemoteMessagePort> FakeMessagePorts::createRemote(std::string_view name) {
  state_->events.add("ports.remote " + std::string(name));
  const MutexLock lock(state_->mutex);
  const auto found = state_->listening.find(name);
  if (found == state_->listening.end()) return nullptr;
  return std::make_shared<Remote>(state_, std::string(name), found->second);
}

}  // namespace kelpie
