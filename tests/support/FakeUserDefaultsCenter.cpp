#include "support/FakeUserDefaultsCenter.h"

namespace kelpie {

FakeUserDefaultsCenter::FakeUserDefaultsCenter(EventLog& events)
    : events_(events), standard_("standard", events) {}

FakeUserDefaults& FakeUserDefaultsCenter::suite(std::string_view name) {
  const MutexLock lock(mutex_);
  const auto found = suites_.find(name);
  if (found != suites_.end()) return found->second;
  return suites_.emplace(std::string(name), FakeUserDefaults(name, events_)).first->second;
}

void FakeUserDefaultsCenter::refuseSuites(bool refuse) {
  const MutexLock lock(mutex_);
  refuses_ = refuse;
}

std::unique_ptr<UserDefaults> FakeUserDefaultsCenter::defaultsWithSuiteName(
    std::string_view suiteName) {
  events_.add("defaults.open " + std::string(suiteName));
  {
    const MutexLock lock(mutex_);
    if (refuses_) return nullptr;
  }
  return std::make_unique<FakeUserDefaults>(suite(suiteName));
}

}  // namespace kelpie
