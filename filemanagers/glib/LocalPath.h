#pragma once

#include <gio/gio.h>

#include <optional>
#include <string>

namespace kelpie::filemanagers {

// The path of a file on a local file system, as bytes, in the file manager's spelling; missing for
// any other and for null.
std::optional<std::string> localPathOf(GFile* location);

}  // namespace kelpie::filemanagers
