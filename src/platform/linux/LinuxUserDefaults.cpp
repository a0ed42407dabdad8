#include "platform/linux/LinuxUserDefaults.h"

#include <functional>
#include <string_view>
#include <utility>

namespace kelpie {

class LinuxUserDefaults::Observation final : public DefaultsObservation {
 public:
  Observation(std::shared_ptr<DefaultsStore> store,
              std::shared_ptr<const DefaultsStore::Observer> observer)
      : store_(std::move(store)), observer_(std::move(observer)) {}
  ~Observation() override { store_->removeObserver(observer_); }
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;

 private:
  std::shared_ptr<DefaultsStore> store_;
  std::shared_ptr<const DefaultsStore::Observer> observer_;
};

LinuxUserDefaults::LinuxUserDefaults(std::shared_ptr<DefaultsStore> store)
    : store_(std::move(store)) {}

Object LinuxUserDefaults::objectForKey(std::string_view key) const { return store_->value(key); }

void LinuxUserDefaults::setObject(std::string_view key, const Object& value) {
  store_->setValue(key, value);
}

void LinuxUserDefaults::removeObject(std::string_view key) { store_->setValue(key, Object()); }

void LinuxUserDefaults::registerDefaults(const Dictionary& defaults) {
  store_->registerValues(defaults);
}

Dictionary LinuxUserDefaults::dictionaryRepresentation() const { return store_->all(); }

std::unique_ptr<DefaultsObservation> LinuxUserDefaults::observe(std::string_view key,
                                                                std::function<void()> onChange) {
  return std::make_unique<Observation>(store_, store_->addObserver(key, std::move(onChange)));
}

}  // namespace kelpie
