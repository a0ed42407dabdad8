#include "agent/git/PathScope.h"

#include <cstddef>

namespace kelpie::agent {

PathScope::PathScope(const std::vector<std::string>& paths)
    : paths_(paths.begin(), paths.end()), all_(paths_.contains(".")) {}

bool PathScope::contains(std::string_view path) const {
  if (all_) return true;
  for (std::size_t end = path.size();; end = path.rfind('/', end - 1)) {
    if (end == std::string_view::npos) return false;
    if (paths_.contains(path.substr(0, end))) return true;
    if (end == 0) return false;
  }
}

}  // namespace kelpie::agent
