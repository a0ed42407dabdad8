#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kelpie::agent {

// The scope of a selection of paths (relative to the root, "." for the root itself): each of them
// and everything below it. Any thread.
class PathScope {
 public:
  // `paths` outlives this.
  explicit PathScope(const std::vector<std::string>& paths);

  // Takes time proportional to the path's length, however many paths were selected.
  bool contains(std::string_view path) const;

 private:
  std::unordered_set<std::string_view> paths_;
  bool all_;
};

}  // namespace kelpie::agent
