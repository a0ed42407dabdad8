#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {

// The pattern, as gitignore(5) defines it, that fits exactly the path (relative to the working
// folder, bytes): anchored, and with nothing in it that stands for anything else. A folder's
// pattern fits folders only. Missing for a path that no pattern can name: one with a line break,
// and the working folder itself.
std::optional<std::string> ignorePattern(std::string_view path, bool isFolder);

// Appends the patterns that the file does not have yet, a line each; a file that is not there is
// made, and its folder. An empty text, or why it could not be done: then the file is as it was. A
// link is not followed, since git follows none either. Any thread.
std::string addIgnorePatterns(const std::string& file, const std::vector<std::string>& patterns);

}  // namespace kelpie::agent
