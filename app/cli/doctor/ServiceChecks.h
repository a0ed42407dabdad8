#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/doctor/DoctorReport.h"

namespace kelpie::cli {

class BusClient;

// What runs, and how it can be reached. Main thread; blocks for some seconds at the most.
class ServiceChecks {
 public:
  explicit ServiceChecks(DoctorReport& report) : report_(report) {}

  // Bus, extension, notifications, main application and what it watches, folder of the sockets,
  // host link, ports; in this order.
  void run();

 private:
  void checkBus();
  void checkNotifications(const BusClient& bus);
  void checkWatchesOf(std::uint32_t process);
  void checkRuntimeDirectory();
  void checkHostLink();
  void checkPorts();

  DoctorReport& report_;
  std::optional<std::uint32_t> extension_;  // its process, when it runs
  bool directoryIsGood_ = false;
};

}  // namespace kelpie::cli
