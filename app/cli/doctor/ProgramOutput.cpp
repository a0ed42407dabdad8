#include "cli/doctor/ProgramOutput.h"

#include <glib.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "cli/link/Deadline.h"
#include "cli/text/FilePath.h"
#include "linux/base/GLibPointers.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::cli {
namespace {

constexpr std::size_t kMaximumOutput = std::size_t{64} << 10U;

// Reads to the end. False when that has not come in time, or there is too much.
bool readAll(int pipe, Clock::time_point deadline, std::string& output) {
  while (output.size() <= kMaximumOutput) {
    pollfd wait = {pipe, POLLIN, 0};
    if (::poll(&wait, 1, pollTimeout(deadline)) == 0) return false;
    std::array<char, 4096> piece{};
    const ssize_t size = ::read(pipe, piece.data(), piece.size());
    if (size == 0) return true;
    if (size > 0) output.append(piece.data(), static_cast<std::size_t>(size));
    if (size < 0 && errno != EINTR) return false;
  }
  return false;
}

}  // namespace

std::optional<std::string> ProgramOutput::find(const std::string& name) {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::string beside = FilePath::join(FilePath::parentOf(self.string()), name);
  if (!error && ::access(beside.c_str(), X_OK) == 0) return beside;
  const GCharPtr found(g_find_program_in_path(name.c_str()));
  return found ? std::optional<std::string>(found.get()) : std::nullopt;
}

std::optional<std::string> ProgramOutput::firstLine(const std::vector<std::string>& call,
                                                    std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  std::vector<std::string> words = call;
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  GPid process = 0;
  int out = -1;
  const int flags = G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDERR_TO_DEV_NULL |
                    G_SPAWN_CLOEXEC_PIPES;
  if (g_spawn_async_with_pipes(nullptr, arguments.data(), nullptr, static_cast<GSpawnFlags>(flags),
                               nullptr, nullptr, &process, nullptr, &out, nullptr,
                               nullptr) == FALSE)
    return std::nullopt;
  const UniqueFd pipe(out);
  std::string output;
  const bool complete = readAll(out, deadline, output);
  // Nothing more is read from it, so it may as well end; if it has already, this does nothing.
  if (!complete) ::kill(process, SIGKILL);
  int status = -1;
  while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  if (!complete || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return output.substr(0, output.find('\n'));
}

}  // namespace kelpie::cli
