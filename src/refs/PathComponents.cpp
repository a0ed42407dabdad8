#include "refs/PathComponents.h"

#include <algorithm>
#include <cstddef>

namespace kelpie {

std::string_view lastPathComponent(std::string_view name) {
  const std::size_t last = name.find_last_not_of('/');
  if (last == std::string_view::npos) return name.substr(0, 1);  // "" or nothing but slashes
  const std::string_view trimmed = name.substr(0, last + 1);
  return trimmed.substr(trimmed.rfind('/') + 1);  // npos + 1 is the start
}

std::string_view cutFirstPathComponent(std::string_view& name) {
  const std::size_t end = name.starts_with('/') ? 1 : std::min(name.find('/'), name.size());
  const std::string_view first = name.substr(0, end);
  name.remove_prefix(std::min(name.find_first_not_of('/', end), name.size()));
  return first;
}

}  // namespace kelpie
