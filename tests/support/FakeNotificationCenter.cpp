#include "support/FakeNotificationCenter.h"

#include <list>
#include <utility>

#include "foundation/Mutex.h"

namespace kelpie {

struct FakeNotificationCenter::State {
  struct Observer {
    std::string name;
    std::function<void(const std::string&)> handler;
  };

  State(EventLog& log, std::shared_ptr<SerialQueue> queue)
      : events(log), mainQueue(std::move(queue)) {}

  EventLog& events;
  std::shared_ptr<SerialQueue> mainQueue;
  Mutex mutex;
  std::list<std::weak_ptr<const Observer>> observers KELPIE_GUARDED_BY(mutex);
  std::vector<Notification> posted KELPIE_GUARDED_BY(mutex);
};

class FakeNotificationCenter::Observation final : public NotificationObservation {
 public:
  Observation(std::shared_ptr<State> state, std::shared_ptr<const State::Observer> observer)
      : state_(std::move(state)), observer_(std::move(observer)) {}
  ~Observation() override { state_->events.add("notifications.unobserve " + observer_->name); }
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;

 private:
  std::shared_ptr<State> state_;
  std::shared_ptr<const State::Observer> observer_;  // the one hold: with it the observation ends
};

FakeNotificationCenter::FakeNotificationCenter(EventLog& events,
                                               std::shared_ptr<SerialQueue> mainQueue)
    : state_(std::make_shared<State>(events, std::move(mainQueue))) {}

FakeNotificationCenter::~FakeNotificationCenter() = default;

void FakeNotificationCenter::deliver(std::string_view name, std::string_view object) {
  const MutexLock lock(state_->mutex);
  state_->observers.remove_if([](const auto& observer) { return observer.expired(); });
  for (const auto& weak : state_->observers) {
    const auto observer = weak.lock();
    if (observer == nullptr || observer->name != name) continue;
    state_->mainQueue->post([weak, object = std::string(object)] {
      if (const auto present = weak.lock()) present->handler(object);
    });
  }
}

std::vector<FakeNotificationCenter::Notification> FakeNotificationCenter::posted() const {
  const MutexLock lock(state_->mutex);
  return state_->posted;
}

std::size_t FakeNotificationCenter::observers() const {
  const MutexLock lock(state_->mutex);
  std::size_t count = 0;
  for (const auto& observer : state_->observers)
    if (!observer.expired()) ++count;
  return count;
}

std::unique_ptr<NotificationObservation> FakeNotificationCenter::addObserver(
    std::string_view name, std::function<void(const std::string& object)> handler) {
  state_->events.add("notifications.observe " + std::string(name));
  auto observer = std::make_shared<const State::Observer>(
      State::Observer{std::string(name), std::move(handler)});
  const MutexLock lock(state_->mutex);
  state_->observers.push_back(observer);
  return std::make_unique<Observation>(state_, std::move(observer));
}

void FakeNotificationCenter::post(std::string_view name, std::string_view object) {
  std::string line = "notifications.post ";
  state_->events.add(line.append(name).append(" ").append(object));
  {
    const MutexLock lock(state_->mutex);
    state_->posted.push_back({std::string(name), std::string(object)});
  }
  deliver(name, object);
}

}  // namespace kelpie
