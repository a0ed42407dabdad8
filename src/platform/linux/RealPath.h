#pragma once

#include <optional>
#include <string>

namespace kelpie {

// The path without links, "." and ".."; absent when nothing is there, or for a path that is not
// absolute or holds a NUL. Any thread; blocks as the file system does.
std::optional<std::string> realPath(const std::string& path);

}  // namespace kelpie
