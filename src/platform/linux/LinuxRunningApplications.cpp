#include "platform/linux/LinuxRunningApplications.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie {
namespace {

constexpr std::chrono::milliseconds kLimit(500);
constexpr std::size_t kLongestQueue = 64;

// Calls of the bus that share one limit.
class BusCalls {
 public:
  explicit BusCalls(const SessionBus& bus) : bus_(bus) {}

  GVariantPtr call(const char* method, const std::string& argument, const char* answerType) const {
    const auto left = end_ - std::chrono::steady_clock::now();
    return bus_.callBus(method, argument, answerType,
                        std::chrono::ceil<std::chrono::milliseconds>(left));
  }
  bool isLate() const { return std::chrono::steady_clock::now() >= end_; }

 private:
  const SessionBus& bus_;
  const std::chrono::steady_clock::time_point end_ = std::chrono::steady_clock::now() + kLimit;
};

// The connections that own the name or wait for it.
std::vector<std::string> queuedOwners(const BusCalls& bus, const std::string& name) {
  std::vector<std::string> owners;
  const GVariantPtr answer = bus.call("ListQueuedOwners", name, "(as)");
  if (!answer) return owners;
  const GVariantPtr list(g_variant_get_child_value(answer.get(), 0));
  const gsize count = std::min<gsize>(g_variant_n_children(list.get()), kLongestQueue);
  for (gsize i = 0; i < count; ++i) {
    const GVariantPtr owner(g_variant_get_child_value(list.get(), i));
    owners.emplace_back(g_variant_get_string(owner.get(), nullptr));
  }
  return owners;
}

// The process id of a connection; 0 when it is gone.
std::int32_t processOf(const BusCalls& bus, const std::string& connection) {
  const GVariantPtr answer = bus.call("GetConnectionUnixProcessID", connection, "(u)");
  if (!answer) return 0;
  guint32 pid = 0;
  g_variant_get(answer.get(), "(u)", &pid);
  return pid <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(pid) : 0;
}

}  // namespace

std::vector<std::int32_t> LinuxRunningApplications::withBundleIdentifier(
    std::string_view identifier) {
  std::vector<std::int32_t> processes;
  if (bus_ == nullptr) return processes;
  const BusCalls bus(*bus_);
  for (const std::string& owner : queuedOwners(bus, std::string(identifier))) {
    if (bus.isLate()) break;
    const std::int32_t pid = processOf(bus, owner);
    if (pid > 0 && std::ranges::count(processes, pid) == 0) processes.push_back(pid);
  }
  if (bus.isLate())
    log_.write("the session bus did not say in time who has the name " + std::string(identifier));
  return processes;
}

std::int32_t LinuxRunningApplications::currentProcessIdentifier() const { return ::getpid(); }

}  // namespace kelpie
