#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/UserDefaults.h"
#include "support/EventLog.h"

namespace kelpie {

// A store of settings in memory. Copies are the same store. Writes "defaults.set NAME KEY",
// "defaults.remove NAME KEY", "defaults.register NAME", "defaults.observe NAME KEY" and
// "defaults.unobserve NAME KEY". Observers run on the thread that changes the value. Any thread.
class FakeUserDefaults final : public UserDefaults {
 public:
  FakeUserDefaults(std::string_view name, EventLog& events);

  // -- The other processes ------------------------------------------------------------------------

  // Stores a value (nil removes it) and tells the observers when it differs from the former one.
  void changeFromOutside(std::string_view key, const Object& value);
  // The stored values, without the registered ones.
  Object storedValue(std::string_view key) const;
  // How many observations are held at present.
  std::size_t observations() const;

  Object objectForKey(std::string_view key) const override;
  void setObject(std::string_view key, const Object& value) override;
  void removeObject(std::string_view key) override;
  void registerDefaults(const Dictionary& defaults) override;
  Dictionary dictionaryRepresentation() const override;
  std::unique_ptr<DefaultsObservation> observe(std::string_view key,
                                               std::function<void()> onChange) override;

 private:
  class Observation;
  struct State;

  std::shared_ptr<State> state_;  // shared by copies and observations
};

}  // namespace kelpie
