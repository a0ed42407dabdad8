#include "cli/doctor/SystemChecks.h"

#include <array>
#include <charconv>
#include <fstream>
#include <optional>
#include <utility>

#include "Configuration.h"
#include "cli/doctor/ProgramOutput.h"
#include "cli/settings/FolderList.h"
#include "cli/settings/SettingsSnapshot.h"
#include "cli/settings/SharedSettings.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/SettingsKeys.h"

namespace kelpie::cli {
namespace {

constexpr std::string_view kSettings = "settings";
constexpr std::string_view kFolders = "observed folders";
constexpr std::string_view kGit = "git";
constexpr std::string_view kDialogs = "dialogs";
constexpr std::string_view kWatches = "inotify";

constexpr std::chrono::seconds kProgramLimit(5);
// The first git that the main application can work with.
constexpr std::pair<int, int> kOldestGit(2, 16);
// A watch is needed for each folder of an open working copy.
constexpr long kFewWatches = 65'536;

}  // namespace

void SystemChecks::run() {
  checkProgram("kelpie-sync");
  checkProgram("kelpie-agent");
  checkSettings();
  checkGit();
  checkDialogs();
  checkWatches();
}

bool SystemChecks::isGitRecent(std::string_view versionLine) {
  constexpr std::string_view kStart = "git version ";
  if (!versionLine.starts_with(kStart)) return false;
  versionLine.remove_prefix(kStart.size());
  const char* end = versionLine.data() + versionLine.size();
  std::pair<int, int> version;
  const auto major = std::from_chars(versionLine.data(), end, version.first);
  if (major.ec != std::errc() || major.ptr == end || *major.ptr != '.') return false;
  const auto minor = std::from_chars(major.ptr + 1, end, version.second);
  return minor.ec == std::errc() && version >= kOldestGit;
}

void SystemChecks::checkProgram(const std::string& name) {
  const std::string_view topic = name == "kelpie-sync" ? "kelpie-sync" : "kelpie-agent";
  const auto path = ProgramOutput::find(name);
  if (!path) {
    report_.problem(topic, "is not installed", "install it, or put it on PATH");
    return;
  }
  const auto version = ProgramOutput::firstLine({*path, "--version"}, kProgramLimit);
  if (!version) {
    report_.problem(topic, *path + " does not tell its version", "install it anew");
  } else if (*version != kVersion) {
    report_.problem(topic,
                    *path + " has version " + *version + ", kelpie has " + std::string(kVersion),
                    "install programs of one version");
  } else {
    report_.good(topic, *path + ", version " + *version);
  }
}

void SystemChecks::checkSettings() {
  const auto file = DefaultsFile::ofSuite(kApplicationGroup);
  std::string problem;
  const auto settings = SharedSettings::read(problem);
  if (!settings) {
    report_.problem(kSettings, problem,
                    file ? "move " + file->path() + " away" : "set HOME or XDG_CONFIG_HOME");
    return;
  }
  const auto version = settings->stringForKey(kApplicationVersionKey);
  if (version && *version != kVersion) {
    report_.problem(kSettings, "the main application that wrote them has version " + *version,
                    "run a kelpie-agent of version " + std::string(kVersion));
  } else {
    report_.good(kSettings, file->path() + (settings->stored().empty() ? " (nothing stored)" : ""));
  }
  checkFolders(*settings);
}

void SystemChecks::checkFolders(const SettingsSnapshot& settings) {
  const auto entries = FolderList::read(settings);
  for (const FolderList::Entry& entry : entries) {
    if (entry.state == FolderList::State::Missing) {
      report_.problem(kFolders, entry.path + " is gone, which hides the changes of the whole list",
                      "kelpie folders remove " + entry.path);
    } else if (entry.state == FolderList::State::NoBookmark) {
      report_.problem(kFolders, "the list has an entry that is no bookmark",
                      "add or remove any folder, which drops the entry");
    }
  }
  if (entries.empty()) {
    report_.problem(kFolders, "there are none, so nothing has a badge",
                    "kelpie folders add FOLDER");
  } else {
    report_.good(kFolders, std::to_string(entries.size()) + " in the list");
  }
}

void SystemChecks::checkGit() {
  const auto version = ProgramOutput::firstLine({"git", "--version"}, kProgramLimit);
  if (!version) {
    report_.problem(kGit, "is not installed, or does not run", "install git");
  } else if (!isGitRecent(*version)) {
    report_.problem(kGit, *version + " is too old",
                    "install git " + std::to_string(kOldestGit.first) + "." +
                        std::to_string(kOldestGit.second) + " or newer");
  } else {
    report_.good(kGit, *version);
  }
}

void SystemChecks::checkDialogs() {
  constexpr std::array kPrograms = {"zenity", "kdialog"};
  for (const char* name : kPrograms) {
    if (const auto path = ProgramOutput::find(name)) {
      report_.good(kDialogs, *path);
      return;
    }
  }
  report_.warning(kDialogs, "neither zenity nor kdialog: commands that destroy work are refused",
                  "install one of them");
}

void SystemChecks::checkWatches() {
  long watches = 0;
  if (!(std::ifstream("/proc/sys/fs/inotify/max_user_watches") >> watches)) {
    report_.warning(kWatches, "the limit of watches cannot be read", "is /proc mounted?");
  } else if (watches < kFewWatches) {
    report_.warning(kWatches,
                    "only " + std::to_string(watches) +
                        " watches: large working copies "
                        "are not watched whole",
                    "sysctl fs.inotify.max_user_watches=524288");
  } else {
    report_.good(kWatches, std::to_string(watches) + " watches");
  }
}

}  // namespace kelpie::cli
