#pragma once

#include "cli/doctor/DoctorReport.h"

namespace kelpie::cli {

// The repositories whose own programs the main application does not have git run, as it has left
// them in the runtime directory. Main thread.
class WithheldChecks {
 public:
  explicit WithheldChecks(DoctorReport& report) : report_(report) {}

  // A warning for each repository; nothing when there is none.
  void run();

 private:
  DoctorReport& report_;
};

}  // namespace kelpie::cli
