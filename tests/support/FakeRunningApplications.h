#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/RunningApplications.h"
#include "support/EventLog.h"

namespace kelpie {

// Running applications in a table that a test changes. Writes "applications.find IDENTIFIER".
class FakeRunningApplications final : public RunningApplications {
 public:
  explicit FakeRunningApplications(EventLog& events) : events_(events) {}

  std::map<std::string, std::vector<std::int32_t>, std::less<>> running;
  std::int32_t ownPid = 4242;

  std::vector<std::int32_t> withBundleIdentifier(std::string_view identifier) override;
  std::int32_t currentProcessIdentifier() const override { return ownPid; }

 private:
  EventLog& events_;
};

}  // namespace kelpie
