#include "cli/commands/UndoCommand.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <ostream>
#include <string>
#include <system_error>

#include "cli/text/FilePath.h"

namespace kelpie::cli {
namespace {

constexpr const char* kAgent = "kelpie-agent";

// The folder of this program, where the other one is installed, too; empty when it is not known.
std::string ownFolder() {
  std::array<char, 4096> path{};
  const ssize_t size = readlink("/proc/self/exe", path.data(), path.size());
  if (size <= 0 || static_cast<std::size_t>(size) == path.size()) return {};
  return FilePath::parentOf({path.data(), static_cast<std::size_t>(size)});
}

}  // namespace

int UndoCommand::run() {
  const auto& operands = arguments_.operands();
  const FilePath::Place place = FilePath::locate(operands.empty() ? "." : operands.front());
  const std::string folder = place.isFolder ? place.path : FilePath::parentOf(place.path);
  console_.out().flush();
  std::string option = "--undo";
  std::string name = kAgent;
  std::string operand = folder;
  const std::array<char*, 4> words = {name.data(), option.data(), operand.data(), nullptr};
  if (const std::string own = ownFolder(); !own.empty())
    execv(FilePath::join(own, kAgent).c_str(), words.data());
  execvp(kAgent, words.data());
  console_.complain(name + ": " + std::generic_category().message(errno));
  return kFailure;
}

}  // namespace kelpie::cli
