#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

#include "linux/base/SessionBus.h"

namespace kelpie {

// A well-known name on the session bus that this process owns, or waits for in the name's queue: it
// neither replaces the owner nor allows replacement. Main thread.
class BusName {
 public:
  // Both are called on the main thread, as often as it happens.
  struct Handlers {
    std::function<void()> acquired;
    // Another process has the name. SessionBus reports the end of the bus.
    std::function<void()> lost;
  };

  // Asks for the name without waiting for the answer. `name` is a valid bus name.
  BusName(const SessionBus& bus, const std::string& name, Handlers handlers);
  // Gives the name up.
  ~BusName();
  BusName(const BusName&) = delete;
  BusName& operator=(const BusName&) = delete;

 private:
  guint owning_;
};

}  // namespace kelpie
