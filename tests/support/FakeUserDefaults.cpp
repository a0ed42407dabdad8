#include "support/FakeUserDefaults.h"

#include <list>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"

namespace kelpie {

struct FakeUserDefaults::State {
  struct Observer {
    std::string key;
    std::function<void()> onChange;
  };

  State(std::string_view storeName, EventLog& log) : name(storeName), events(log) {}

  const std::string name;
  EventLog& events;
  mutable Mutex mutex;
  Dictionary stored KELPIE_GUARDED_BY(mutex);
  Dictionary registered KELPIE_GUARDED_BY(mutex);
  std::list<std::shared_ptr<const Observer>> observers KELPIE_GUARDED_BY(mutex);

  Object value(std::string_view key) const KELPIE_REQUIRES(mutex) {
    Object found = stored[key];
    return found.isNil() ? registered[key] : found;
  }

  void log(std::string_view event, std::string_view key) {
    std::string line = "defaults.";
    events.add(line.append(event).append(" ").append(name).append(" ").append(key));
  }

  // Stores, or removes when `newValue` is nil, and calls the key's observers after a change.
  void change(std::string_view key, const Object& newValue) {
    std::vector<std::shared_ptr<const Observer>> told;
    {
      const MutexLock lock(mutex);
      const Object former = value(key);
      if (newValue.isNil())
        stored.remove(Object(key));
      else
        stored.set(Object(key), newValue);
      const Object present = value(key);
      if (present.isEqual(former) || (present.isNil() && former.isNil())) return;
      for (const auto& observer : observers)
        if (observer->key == key) told.push_back(observer);
    }
    for (const auto& observer : told) observer->onChange();
  }
};

class FakeUserDefaults::Observation final : public DefaultsObservation {
 public:
  Observation(std::shared_ptr<State> state, std::shared_ptr<const State::Observer> observer)
      : state_(std::move(state)), observer_(std::move(observer)) {}
  ~Observation() override {
    state_->log("unobserve", observer_->key);
    const MutexLock lock(state_->mutex);
    state_->observers.remove(observer_);
  }
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;

 private:
  std::shared_ptr<State> state_;
  std::shared_ptr<const State::Observer> observer_;
};

FakeUserDefaults::FakeUserDefaults(std::string_view name, EventLog& events)
    : state_(std::make_shared<State>(name, events)) {}

void FakeUserDefaults::changeFromOutside(std::string_view key, const Object& value) {
  state_->change(key, value);
}

Object FakeUserDefaults::storedValue(std::string_view key) const {
  const MutexLock lock(state_->mutex);
  return state_->stored[key];
}

std::size_t FakeUserDefaults::observations() const {
  const MutexLock lock(state_->mutex);
  return state_->observers.size();
}

Object FakeUserDefaults::objectForKey(std::string_view key) const {
  const MutexLock lock(state_->mutex);
  return state_->value(key);
}

void FakeUserDefaults::setObject(std::string_view key, const Object& value) {
  state_->log("set", key);
  state_->change(key, value);
}

void FakeUserDefaults::removeObject(std::string_view key) {
  state_->log("remove", key);
  state_->change(key, Object());
}

void FakeUserDefaults::registerDefaults(const Dictionary& defaults) {
  state_->events.add("defaults.register " + state_->name);
  const MutexLock lock(state_->mutex);
  for (const auto& [key, value] : defaults.entries()) state_->registered.set(key, value);
}

Dictionary FakeUserDefaults::dictionaryRepresentation() const {
  const MutexLock lock(state_->mutex);
  Dictionary all = state_->registered;
  for (const auto& [key, value] : state_->stored.entries()) all.set(key, value);
  return all;
}

std::unique_ptr<DefaultsObservation> FakeUserDefaults::observe(std::string_view key,
                                                               std::function<void()> onChange) {
  state_->log("observe", key);
  auto observer = std::make_shared<const State::Observer>(
      State::Observer{std::string(key), std::move(onChange)});
  const MutexLock lock(state_->mutex);
  state_->observers.push_back(observer);
  return std::make_unique<Observation>(state_, std::move(observer));
}

}  // namespace kelpie
