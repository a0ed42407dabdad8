#include "agent/desktop/DesktopTools.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

// Programs that are not part of git everywhere, by the words that a command begins with.
struct Tool {
  std::string_view words;
  std::string_view program;  // on PATH, or among git's own
  std::string_view package;
};
constexpr std::array<Tool, 4> kTools = {{{"git gui", "git-gui", "git-gui"},
                                         {"git citool", "git-citool", "git-gui"},
                                         {"gitk", "gitk", "gitk"},
                                         {"xdg-open", "xdg-open", "xdg-utils"}}};

// Commands of git that open a program which the user has chosen, or one that git finds itself.
constexpr std::array<std::string_view, 2> kCommandsWithTool = {"git difftool", "git mergetool"};
constexpr std::array<const char*, 4> kToolSettings = {"diff.guitool", "merge.guitool", "diff.tool",
                                                      "merge.tool"};
constexpr std::array<const char*, 12> kGraphicalTools = {
    "meld",     "kdiff3",    "kompare",  "tkdiff", "xxdiff", "diffuse",
    "gvimdiff", "diffmerge", "bcompare", "smerge", "emerge", "codecompare"};

// How terminals are told what to run, the desktop's own choice first.
struct Terminal {
  const char* program;
  std::array<const char*, 2> arguments;
};
constexpr std::array<Terminal, 11> kTerminals = {{{"xdg-terminal-exec", {nullptr, nullptr}},
                                                  {"x-terminal-emulator", {"-e", nullptr}},
                                                  {"gnome-terminal", {"--wait", "--"}},
                                                  {"konsole", {"-e", nullptr}},
                                                  {"xfce4-terminal", {"--disable-server", "-x"}},
                                                  {"mate-terminal", {"--disable-factory", "-x"}},
                                                  {"kitty", {nullptr, nullptr}},
                                                  {"alacritty", {"-e", nullptr}},
                                                  {"foot", {nullptr, nullptr}},
                                                  {"urxvt", {"-e", nullptr}},
                                                  {"xterm", {"-e", nullptr}}}};

// $1 is the folder. A pager that ends by itself, or none, would take the text away with the window.
constexpr const char* kScript =
    "cd \"$1\" || exit 1; shift; unset GIT_TERMINAL_PROMPT; : \"${LESS=R}\"; export LESS; "
    "\"$@\"; status=$?; "
    "if [ $status -ne 0 ] || ! command -v less >/dev/null 2>&1; then "
    "printf '\\n[Enter] closes this window. '; read -r answer; fi; exit $status";

bool isInstalled(const std::string& program) {
  const GCharPtr path(g_find_program_in_path(program.c_str()));
  return path != nullptr;
}

bool isGitsOwn(const std::string& program, const GitCommand& git) {
  std::string folder = git.ask({"--exec-path"}).output;
  if (folder.ends_with('\n')) folder.pop_back();
  const std::string path = folder + "/" + program;
  return !folder.empty() && g_file_test(path.c_str(), G_FILE_TEST_IS_EXECUTABLE) == TRUE;
}

bool hasDiffTool(const GitCommand& git) {
  return std::ranges::any_of(kGraphicalTools, isInstalled) ||
         std::ranges::any_of(kToolSettings, [&](const char* setting) {
           return git.ask({"config", "--get", setting}).succeeded();
         });
}

}  // namespace

std::optional<std::string> DesktopTools::lackOf(const std::vector<std::string>& command,
                                                const GitCommand& git) {
  if (command.empty()) return std::nullopt;
  const std::string words = command.size() == 1 ? command[0] : command[0] + " " + command[1];
  const auto begins = [&](std::string_view start) {
    return words == start || words.starts_with(std::string(start) + " ");
  };
  for (const std::string_view each : kCommandsWithTool)
    if (begins(each) && !hasDiffTool(git))
      return "No program that shows differences is installed; the package meld brings one.";
  for (const Tool& tool : kTools) {
    if (!begins(tool.words)) continue;
    const std::string program(tool.program);
    if (isInstalled(program)) return std::nullopt;
    if (tool.words.starts_with("git ") && isGitsOwn(program, git)) return std::nullopt;
    return "\"" + std::string(tool.words) + "\" is not installed; the package " +
           std::string(tool.package) + " brings it.";
  }
  if (isInstalled(command[0])) return std::nullopt;
  return "\"" + command[0] + "\" is not installed.";
}

std::optional<std::vector<std::string>> DesktopTools::terminal() {
  for (const Terminal& each : kTerminals) {
    if (!isInstalled(each.program)) continue;
    std::vector<std::string> command = {each.program};
    for (const char* argument : each.arguments)
      if (argument != nullptr) command.emplace_back(argument);
    return command;
  }
  return std::nullopt;
}

std::vector<std::string> DesktopTools::shownInTerminal(const std::vector<std::string>& terminal,
                                                       const std::string& folder,
                                                       const std::vector<std::string>& command) {
  std::vector<std::string> all = terminal;
  all.insert(all.end(), {"sh", "-c", kScript, "kelpie", folder});
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

}  // namespace kelpie::agent
