#pragma once

#include <string>
#include <string_view>

#include "cli/doctor/DoctorReport.h"

namespace kelpie::cli {

// The installation: what is installed, stored and allowed. Main thread; blocks for some seconds at
// the most.
class SystemChecks {
 public:
  explicit SystemChecks(DoctorReport& report) : report_(report) {}

  // The programs and their versions, the settings, git, dialogs, tools, limits; in this order.
  void run();

  // Whether the version that "git --version" prints will do. Any thread.
  static bool isGitRecent(std::string_view versionLine);

 private:
  void checkProgram(const std::string& name);
  void checkSettings();
  void checkFolders(const class SettingsSnapshot& settings);
  void checkGit();
  void checkDialogs();
  void checkPasswords();
  void checkTools();
  void checkWatches();
  // What the user's file of the main application says; empty where it says nothing.
  static std::string configured(const char* group, const char* key);

  DoctorReport& report_;
};

}  // namespace kelpie::cli
