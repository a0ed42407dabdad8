#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "platform/UserDefaults.h"
#include "platform/linux/DefaultsStore.h"

namespace kelpie {

// The settings of one suite, which other processes write as well. Observers are called on the main
// loop when another process has changed a value, and on the thread that sets one here.
class LinuxUserDefaults final : public UserDefaults {
 public:
  explicit LinuxUserDefaults(std::shared_ptr<DefaultsStore> store);

  Object objectForKey(std::string_view key) const override;
  void setObject(std::string_view key, const Object& value) override;
  void removeObject(std::string_view key) override;
  void registerDefaults(const Dictionary& defaults) override;
  Dictionary dictionaryRepresentation() const override;
  std::unique_ptr<DefaultsObservation> observe(std::string_view key,
                                               std::function<void()> onChange) override;

 private:
  class Observation;

  std::shared_ptr<DefaultsStore> store_;  // shared with the observations
};

}  // namespace kelpie
