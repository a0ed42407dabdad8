#include "cli/doctor/SystemChecks.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <utility>

#include "Configuration.h"
#include "cli/doctor/ProgramOutput.h"
#include "cli/settings/FolderList.h"
#include "cli/settings/SettingsSnapshot.h"
#include "cli/settings/SharedSettings.h"
#include "linux/base/GLibPointers.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/SettingsKeys.h"

namespace kelpie::cli {
namespace {

constexpr std::string_view kSettingsTopic = "settings";
constexpr std::string_view kFolders = "observed folders";
constexpr std::string_view kGit = "git";
constexpr std::string_view kDialogs = "dialogs";
constexpr std::string_view kPasswords = "passwords";
constexpr std::string_view kToolsTopic = "tools";
constexpr std::string_view kWatchLimit = "inotify";

constexpr std::chrono::seconds kProgramLimit(5);
// The first git that the main application can work with.
constexpr std::pair<int, int> kOldestGit(2, 26);
// A watch is needed for each folder of an open working copy.
constexpr long kFewWatches = 65'536;

struct KeyFileUnref {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

// The programs that actions open their windows with; any of them will do.
struct Tool {
  const char* what;
  std::array<const char*, 12> programs;
  std::array<const char*, 3> actions;  // keys of the group [Tools]
  const char* without;
  const char* package;
};
constexpr Tool kTools[] = {
    {"git gui",
     {"git-gui"},
     {"commit", "blameItems", "showSettings"},
     "Settings fail, Commit and Blame open in a terminal",
     "git-gui"},
    {"gitk",
     {"gitk"},
     {"historyItems", "showBrowser"},
     "History and Browser open in a terminal",
     "gitk"},
    {"differences",
     {"meld", "kdiff3", "kompare", "tkdiff", "xxdiff", "diffuse", "gvimdiff", "diffmerge",
      "bcompare", "smerge", "emerge", "codecompare"},
     {"diff", "externalDiff", "compareCommits"},
     "External Diff fails, See Changes opens in a terminal, unless git has a tool of its own",
     "meld"},
    {"terminal",
     {"xdg-terminal-exec", "x-terminal-emulator", "gnome-terminal", "konsole", "xfce4-terminal",
      "mate-terminal", "kitty", "alacritty", "foot", "urxvt", "xterm"},
     {"terminal"},
     "what opens in a terminal fails",
     "xterm"},
    {"web pages",
     {"xdg-open"},
     {"createPullRequest", "showConfiguration", "showPreferences"},
     "New Pull Request, Git Configuration and Preferences fail",
     "xdg-utils"}};

}  // namespace

void SystemChecks::run() {
  checkProgram("kelpie-sync");
  checkProgram("kelpie-agent");
  checkSettings();
  checkGit();
  checkDialogs();
  checkPasswords();
  checkTools();
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
  const auto settings = SharedSettings::read();
  if (!settings) {
    report_.problem(kSettingsTopic, settings.problem(),
                    file ? "move " + file->path() + " away" : "set HOME or XDG_CONFIG_HOME");
    return;
  }
  const auto version = settings->stringForKey(kApplicationVersionKey);
  if (version && *version != kVersion) {
    report_.problem(kSettingsTopic, "the main application that wrote them has version " + *version,
                    "run a kelpie-agent of version " + std::string(kVersion));
  } else {
    report_.good(kSettingsTopic,
                 file->path() + (settings->stored().empty() ? " (nothing stored)" : ""));
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
  const std::string named = configured("Git", "Program");
  const std::string program = named.empty() ? "git" : named;
  const auto version = ProgramOutput::firstLine({program, "--version"}, kProgramLimit);
  if (!version && !named.empty()) {
    report_.problem(kGit, named + " does not run, and agent.conf names it",
                    "correct Program in the group [Git] of agent.conf");
  } else if (!version) {
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

std::string SystemChecks::configured(const char* group, const char* key) {
  const std::string file = std::string(g_get_user_config_dir()) + "/kelpie/agent.conf";
  const std::unique_ptr<GKeyFile, KeyFileUnref> keys(g_key_file_new());
  if (g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, nullptr) == FALSE)
    return {};
  const GCharPtr value(g_key_file_get_string(keys.get(), group, key, nullptr));
  return value == nullptr ? std::string() : std::string(value.get());
}

void SystemChecks::checkPasswords() {
  const char* own = std::getenv("SSH_ASKPASS");
  if (own != nullptr && ProgramOutput::find(own)) {
    report_.good(kPasswords, std::string("asked for by ") + own);
  } else if (const auto path = ProgramOutput::find("kelpie-askpass")) {
    report_.good(kPasswords, "asked for by " + *path);
  } else {
    report_.warning(kPasswords, "kelpie-askpass is not installed: nothing can ask for one",
                    "install it, or have git remember passwords: git config credential.helper");
  }
}

// Actions that open windows need programs that git alone does not bring.
void SystemChecks::checkTools() {
  const std::string own =
      ProgramOutput::firstLine({"git", "--exec-path"}, kProgramLimit).value_or("");
  for (const Tool& tool : kTools) {
    const auto isThere = [&](const char* program) {
      return ProgramOutput::find(program) ||
             (!own.empty() && ::access((own + "/" + program).c_str(), X_OK) == 0);
    };
    // The user's own command for the actions comes first.
    const bool isReplaced = std::ranges::all_of(tool.actions, [](const char* action) {
      return action == nullptr || !configured("Tools", action).empty();
    });
    const auto found = std::ranges::find_if(
        tool.programs, [&](const char* program) { return program != nullptr && isThere(program); });
    if (isReplaced) {
      report_.good(kToolsTopic, std::string(tool.what) + ": as agent.conf says");
    } else if (found != tool.programs.end()) {
      report_.good(kToolsTopic, std::string(tool.what) + ": " + *found);
    } else {
      report_.warning(kToolsTopic, std::string(tool.what) + ": not installed: " + tool.without,
                      std::string("install the package ") + tool.package);
    }
  }
}

void SystemChecks::checkWatches() {
  long watches = 0;
  if (!(std::ifstream("/proc/sys/fs/inotify/max_user_watches") >> watches)) {
    report_.warning(kWatchLimit, "the limit of watches cannot be read", "is /proc mounted?");
  } else if (watches < kFewWatches) {
    report_.warning(kWatchLimit,
                    "only " + std::to_string(watches) +
                        " watches: large working copies "
                        "are not watched whole",
                    "sysctl fs.inotify.max_user_watches=524288");
  } else {
    report_.good(kWatchLimit, std::to_string(watches) + " watches");
  }
}

}  // namespace kelpie::cli
