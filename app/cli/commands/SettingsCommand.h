#pragma once

#include <string>

#include "cli/commands/Arguments.h"
#include "cli/output/Context.h"
#include "cli/settings/Setting.h"

namespace kelpie::cli {

// `kelpie settings`: reads and changes the settings. Main thread.
class SettingsCommand {
 public:
  SettingsCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console) {}

  int run();

 private:
  int list(const SettingsSnapshot& settings);
  int get(const Setting& setting, const SettingsSnapshot& settings);
  int set(const Setting& setting);
  int reset();

  // The setting of that name; null, after a complaint, when there is none.
  const Setting* find(const std::string& name);
  // The exit status for what went wrong, after a complaint about it.
  int refuse(const std::string& problem, int status);

  const Arguments& arguments_;
  Console& console_;
};

}  // namespace kelpie::cli
