#pragma once

#include "cli/commands/Arguments.h"
#include "cli/doctor/DoctorReport.h"
#include "cli/output/Context.h"

namespace kelpie::cli {

// `kelpie doctor`: what is wrong with the installation, and what to do about it. Main thread.
class DoctorCommand {
 public:
  DoctorCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console) {}

  int run();

 private:
  void print(const DoctorReport& report);
  void printJson(const DoctorReport& report);

  const Arguments& arguments_;
  Console& console_;
};

}  // namespace kelpie::cli
