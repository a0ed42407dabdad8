#include "linux/base/SearchPath.h"

#include <algorithm>
#include <cstdlib>

namespace kelpie {
namespace {

constexpr const char* kVariable = "PATH";
// Without the variable, what looks for a program looks in the current folder as well.
constexpr const char* kUsual = "/usr/local/bin:/usr/bin:/bin";

}  // namespace

std::string SearchPath::absolute(std::string_view path) {
  std::string kept;
  while (!path.empty()) {
    const std::string_view entry = path.substr(0, path.find(':'));
    path.remove_prefix(std::min(path.size(), entry.size() + 1));
    if (!entry.starts_with('/')) continue;
    if (!kept.empty()) kept += ':';
    kept += entry;
  }
  return kept.empty() ? kUsual : kept;
}

void SearchPath::clean() {
  const char* path = std::getenv(kVariable);
  setenv(kVariable, absolute(path == nullptr ? "" : path).c_str(), 1);
}

}  // namespace kelpie
