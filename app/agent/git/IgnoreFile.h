#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {

// The pattern, as gitignore(5) defines it, that fits exactly the path (relative to the working
// folder, bytes): anchored, and without wildcards. A folder's pattern fits folders only. Absent for
// a path that no pattern can name: one with a line break, or the working folder itself.
std::optional<std::string> ignorePattern(std::string_view path, bool isFolder);

// Appends the patterns that the file does not have yet, a line each; makes the file and its folder
// as needed. Returns an empty text, or why it failed: the file is then unchanged. A link is not
// followed, since git follows none either. Any thread.
std::string addIgnorePatterns(const std::string& file, const std::vector<std::string>& patterns);

}  // namespace kelpie::agent
