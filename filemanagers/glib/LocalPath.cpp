#include "glib/LocalPath.h"

namespace kelpie::filemanagers {

// Only a native file is at its path by itself; that of another may be one of a mount for programs
// that know no better.
std::optional<std::string> localPathOf(GFile* location) {
  if (location == nullptr || g_file_is_native(location) == FALSE) return std::nullopt;
  const char* path = g_file_peek_path(location);
  if (path == nullptr || path[0] != '/') return std::nullopt;
  return std::string(path);
}

}  // namespace kelpie::filemanagers
