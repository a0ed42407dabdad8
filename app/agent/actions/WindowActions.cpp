#include "agent/actions/ActionGroups.h"

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "agent/actions/ActionJob.h"
#include "agent/actions/WebAddress.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// One window per file, but no more than a person looks at.
constexpr std::size_t kMostWindowsAtOnce = 8;

// Against the last commit, where there is one: staged changes are changes, too.
ActionOutcome showChanges(ActionJob& job) {
  if (!job.hasHeadCommit()) {
    job.setTerminal("git --literal-pathspecs diff --cached -- %p");
    return job.openWindow("git difftool -g -y --cached -- %p");
  }
  return job.openWindow(job.target().paths.size() == 1 ? "git difftool -g -y HEAD -- %p"
                                                       : "git difftool -g -y -d HEAD -- %p");
}

ActionOutcome blame(ActionJob& job) {
  const std::vector<std::string>& paths = job.target().paths;
  if (paths.size() > kMostWindowsAtOnce)
    return ActionOutcome::failed("More than " + std::to_string(kMostWindowsAtOnce) +
                                 " windows would be opened.");
  std::vector<ProgramCall> windows;
  for (const std::string& path : paths) {
    ActionOutcome one = job.openWindow("git gui blame -- %p", {path});
    if (!one.isDone()) return one;
    windows.insert(windows.end(), one.windows.begin(), one.windows.end());
  }
  return ActionOutcome::opens(std::move(windows));
}

// The page of the remote that the pull request came from, where a new one is made.
ActionOutcome createPullRequest(ActionJob& job) {
  const ReferencesSnapshot* references = job.references();
  Reference reference;
  reference.fullName = job.target().pullRequest->fullName;
  const Remote* remote = references == nullptr ? nullptr : references->remoteOf(reference);
  if (remote == nullptr && references != nullptr && !references->remotes.empty()) {
    const auto origin = std::ranges::find(references->remotes, "origin", &Remote::name);
    remote = origin != references->remotes.end() ? &*origin : &references->remotes.front();
  }
  const std::optional<std::string> page =
      remote == nullptr ? std::nullopt : webAddress(remote->url);
  if (!page) return ActionOutcome::failed("The remote has no page on the web that is known.");
  return job.openWindow("xdg-open %u", {}, *page);
}

// The user's own settings of git, in the file that git itself would change.
std::string globalConfiguration() {
  if (const char* named = std::getenv("GIT_CONFIG_GLOBAL"); named != nullptr && *named != '\0')
    return named;
  std::string file = std::string(g_get_home_dir()) + "/.gitconfig";
  std::error_code ignored;
  if (fs::exists(file, ignored)) return file;
  return std::string(g_get_user_config_dir()) + "/git/config";
}

ActionOutcome showConfiguration(ActionJob& job) {
  const std::string file = globalConfiguration();
  std::error_code ignored;
  if (!file.starts_with('/') || !fs::exists(file, ignored))
    return ActionOutcome::failed("There is no git configuration yet: " + file);
  return job.openWindow("xdg-open %f", {file.substr(1)});
}

ActionOutcome showPreferences(ActionJob& job) { return job.openWindow("xdg-open %e"); }

ActionOutcome showAbout(ActionJob& /*job*/) {
  const Dialogs::Answer told = Dialogs::tell(
      "Kelpie shows the state of git working copies in the file manager.\n\n"
      "kelpie-agent is the program behind its badges and menus.");
  return told.end == Dialogs::End::Unavailable
             ? ActionOutcome::failed("There is nothing to show a window with.")
             : ActionOutcome::done();
}

constexpr auto kApplication = ActionKind::Application;

constexpr ActionRule kWindowActions[] = {
    {.action = "commit:", .label = "Commit", .window = "git citool", .terminal = "git commit"},
    {.action = "diff:",
     .label = "See Changes",
     .subject = ActionSubject::Files,
     .terminal = "git --literal-pathspecs diff HEAD -- %p",
     .work = showChanges},
    {.action = "externalDiff:",
     .label = "External Diff",
     .subject = ActionSubject::Files,
     .work = showChanges},
    {.action = "blameItems:",
     .label = "Blame",
     .subject = ActionSubject::Files,
     .terminal = "git blame -- %p",
     .work = blame},
    {.action = "historyItems:",
     .label = "History",
     .subject = ActionSubject::Files,
     .window = "gitk -- %p",
     .terminal = "git --literal-pathspecs log --patch -- %p"},
    {.action = "compareCommits:",
     .label = "Compare",
     .subject = ActionSubject::Reference,
     .window = "git difftool -g -y -d %full HEAD --",
     .terminal = "git diff %full HEAD --"},
    {.action = "showBrowser:",
     .label = "Browser",
     .window = "gitk --all",
     .terminal = "git log --graph --all"},
    {.action = "showSettings:", .label = "Settings", .window = "git gui"},
    {.action = "showRemoteSettings:",
     .label = "Remote Settings",
     .subject = ActionSubject::Remote,
     .window = "git gui"},
    {.action = "createPullRequest:",
     .label = "New Pull Request",
     .subject = ActionSubject::PullRequest,
     .work = createPullRequest},
    {.action = "showAboutPanel:", .label = "About", .work = showAbout, .kind = kApplication},
    {.action = "showConfiguration:",
     .label = "Git Configuration",
     .work = showConfiguration,
     .kind = kApplication},
    {.action = "showPreferences:",
     .label = "Preferences",
     .work = showPreferences,
     .kind = kApplication},
    // The runner tells the agent.
    {.action = "quit:", .label = "Quit", .kind = kApplication},
};

}  // namespace

std::span<const ActionRule> windowActions() { return kWindowActions; }

}  // namespace kelpie::agent
