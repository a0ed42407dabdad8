#include "agent/actions/IndexLock.h"

#include <gio/gio.h>
#include <poll.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Nobody tells when a file goes.
constexpr int kLookAgain = 20;  // milliseconds
// A lock that is gone by the time it is looked for was there; or it cannot be made at all.
constexpr int kMostUnseen = 5;
// Messages in every language name the file.
constexpr const char* kName = "index.lock";

std::string lockOf(const GitCommand& git) {
  const ProgramResult folder = git.ask({"rev-parse", "--absolute-git-dir"});
  return folder.succeeded() ? folder.output.substr(0, folder.output.rfind('\n')) + "/" + kName
                            : std::string();
}

bool isHeld(const std::string& file) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(file, ignored));
}

// False when the action was called off.
bool waitALittle() {
  GCancellable* cancellable = g_cancellable_get_current();
  GPollFD cancel{-1, 0, 0};
  const bool canCancel =
      cancellable != nullptr && g_cancellable_make_pollfd(cancellable, &cancel) != FALSE;
  pollfd wait{canCancel ? cancel.fd : -1, POLLIN, 0};
  poll(&wait, 1, kLookAgain);
  if (canCancel) g_cancellable_release_fd(cancellable);
  return g_cancellable_is_cancelled(cancellable) == FALSE;
}

}  // namespace

ActionOutcome IndexLock::change(const GitCommand& git, const Arguments& arguments,
                                const GitCommand::Given& given,
                                std::chrono::milliseconds patience) {
  return change(
      git, [&] { return git.changeWith(arguments, given); }, patience);
}

ActionOutcome IndexLock::change(const GitCommand& git,
                                const std::function<ProgramResult()>& attempt,
                                std::chrono::milliseconds patience) {
  const Clock::time_point end = Clock::now() + patience;
  for (int unseen = 0;;) {
    const ProgramResult result = attempt();
    if (result.succeeded() || result.errors.find(kName) == std::string::npos)
      return ActionOutcome::of(result);
    const std::string lock = lockOf(git);
    if (!isHeld(lock) && ++unseen == kMostUnseen) return ActionOutcome::of(result);
    while (isHeld(lock)) {
      if (Clock::now() >= end)
        return ActionOutcome::failed(
            "Another git is at work in this repository, or one was ended before it was done: it "
            "has left the file \"" +
            lock + "\". When no git runs there, delete that file and try again.");
      if (!waitALittle()) return ActionOutcome::cancelled();
    }
  }
}

}  // namespace kelpie::agent
