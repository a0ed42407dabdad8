#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#import <Foundation/Foundation.h>

#include "platform/UserDefaults.h"
#include "platform/macos/Retained.h"

namespace kelpie {

// One store of the platform's, whose registered values are those of every store of the process.
// Any thread.
class MacUserDefaults final : public UserDefaults {
 public:
  explicit MacUserDefaults(Retained<NSUserDefaults*> defaults) : defaults_(std::move(defaults)) {}

  Object objectForKey(std::string_view key) const override;
  void setObject(std::string_view key, const Object& value) override;
  void removeObject(std::string_view key) override;
  void registerDefaults(const Dictionary& defaults) override;
  Dictionary dictionaryRepresentation() const override;
  // Tells of changes on the main thread: see KPDefaultsObserver.
  std::unique_ptr<DefaultsObservation> observe(std::string_view key,
                                               std::function<void()> onChange) override;

 private:
  const Retained<NSUserDefaults*> defaults_;
};

class MacUserDefaultsCenter final : public UserDefaultsCenter {
 public:
  UserDefaults& standardDefaults() override { return standard_; }
  std::unique_ptr<UserDefaults> defaultsWithSuiteName(std::string_view suite) override;

 private:
  MacUserDefaults standard_{Retained<NSUserDefaults*>::keep([NSUserDefaults standardUserDefaults])};
};

}  // namespace kelpie
