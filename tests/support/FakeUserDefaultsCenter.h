#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/Mutex.h"
#include "platform/UserDefaults.h"
#include "support/EventLog.h"
#include "support/FakeUserDefaults.h"

namespace kelpie {

// The stores of a process: one of its own (named "standard" in the events) and one for each suite.
// Writes "defaults.open SUITE". Any thread.
class FakeUserDefaultsCenter final : public UserDefaultsCenter {
 public:
  explicit FakeUserDefaultsCenter(EventLog& events);

  FakeUserDefaults& standard() { return standard_; }
  // The suite's store, the one that defaultsWithSuiteName() hands out.
  FakeUserDefaults& suite(std::string_view name);
  // Makes the opening of suites fail.
  void refuseSuites(bool refuse);

  UserDefaults& standardDefaults() override { return standard_; }
  std::unique_ptr<UserDefaults> defaultsWithSuiteName(std::string_view suite) override;

 private:
  EventLog& events_;
  FakeUserDefaults standard_;
  Mutex mutex_;
  std::map<std::string, FakeUserDefaults, std::less<>> suites_
      KELPIE_GUARDED_BY(mutex_);  // references stay valid
  bool refuses_ KELPIE_GUARDED_BY(mutex_) = false;
};

}  // namespace kelpie
