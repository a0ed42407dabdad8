#include "agent/git/Submodules.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

// The mode of a submodule's entry, as every version of the index holds it.
constexpr std::string_view kMode("\x00\x00\xE0\x00", 4);
constexpr std::string_view kSharedIndex = "sharedindex.";

// Whether the bytes of the mode are anywhere in the file; they may also be there by chance.
bool mayHoldSubmodule(const fs::path& index) {
  std::error_code ignored;
  if (!fs::is_regular_file(index, ignored)) return false;
  std::ifstream file(index, std::ios::binary);
  std::vector<char> buffer(std::size_t{256} << 10U);
  std::size_t kept = 0;
  for (;;) {
    file.read(buffer.data() + kept, static_cast<std::streamsize>(buffer.size() - kept));
    const std::size_t size = kept + static_cast<std::size_t>(file.gcount());
    if (memmem(buffer.data(), size, kMode.data(), kMode.size()) != nullptr) return true;
    if (!file) return false;
    // The bytes may lie across the border.
    kept = kMode.size() - 1;
    std::copy_n(buffer.data() + size - kept, kept, buffer.data());
  }
}

// An index may have most of its entries in another file.
bool mayHoldSubmodules(const WorkingCopy& workingCopy) {
  const fs::path git(workingCopy.gitDirectory);
  if (mayHoldSubmodule(git / "index")) return true;
  std::error_code error;
  for (fs::directory_iterator at(git, error), end; !error && at != end; at.increment(error))
    if (at->path().filename().native().starts_with(kSharedIndex) && mayHoldSubmodule(at->path()))
      return true;
  return false;
}

}  // namespace

std::optional<std::vector<std::string>> submodulesInIndex(const GitCommand& git,
                                                          const WorkingCopy& workingCopy) {
  std::vector<std::string> found;
  if (!mayHoldSubmodules(workingCopy)) return found;
  const ProgramResult listed = git.ask({"ls-files", "--stage", "-z"});
  if (!listed.succeeded()) return std::nullopt;
  // mode blank oid blank stage tab path NUL
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    const std::size_t tab = entry.find('\t');
    if (!entry.starts_with("160000 ") || tab == std::string_view::npos) continue;
    std::string path = workingCopy.root + "/" + std::string(entry.substr(tab + 1));
    std::error_code ignored;
    // A conflict has it several times.
    if (fs::exists(fs::symlink_status(fs::path(path) / ".git", ignored)) &&
        (found.empty() || found.back() != path))
      found.push_back(std::move(path));
  }
  return found;
}

}  // namespace kelpie::agent
