#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Result.h"
#include "foundation/ThreadBound.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::cli {

// Questions to the session bus. Each blocks until the bus answers, for some seconds at the most.
// Main thread.
class BusClient {
 public:
  // Connects; fails without a session bus.
  static Result<BusClient> connect();

  // Has the bus start the service of that name, or finds it running. What went wrong, or nothing.
  std::optional<std::string> start(const std::string& name) const;
  // The process that owns the name; absent when nobody does.
  std::optional<std::uint32_t> ownerProcess(const std::string& name) const;
  // Whether the bus knows how to start a service of that name.
  bool canStart(const std::string& name) const;

 private:
  explicit BusClient(GObjectPtr<GDBusConnection> connection) : connection_(std::move(connection)) {}

  // Calls a method of the bus itself.
  Result<GVariantPtr> call(const char* method, GVariant* arguments, const char* answer,
                           int limit) const;

  GObjectPtr<GDBusConnection> connection_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
