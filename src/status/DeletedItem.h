#pragma once

#include <optional>
#include <string_view>

namespace kelpie {

// A deleted item no longer exists; it is stood for by the URL of its path with an ending that no
// file has.

// Makes the ending, when the process makes its first repository; later calls do nothing.
void makeDeletedFilesSuffix();
// The ending: a blank, the control character SHIFT OUT, ".kelpieDeleted". Absent until it is made.
// Any thread.
std::optional<std::string_view> deletedFilesSuffix();
// Whether the path ends so. False until the ending is made.
bool isPlaceholderPath(std::string_view path);

}  // namespace kelpie
