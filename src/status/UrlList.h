#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "foundation/ObjectView.h"
#include "foundation/TextBlocks.h"

namespace kelpie {

// The paths of a list of URLs as the main application sends it: flat, since a status may name as
// many URLs as it has entries, and since only their paths are ever read. Does not change once made,
// so safe from any thread.
class UrlList {
 public:
  UrlList() = default;
  // Made from an array; anything else counts as an empty one.
  explicit UrlList(const ObjectView& array);

  // How many elements the array had, also those that are not URLs.
  std::size_t count() const { return count_; }

  // The elements that are URLs, in order.
  std::size_t size() const { return paths_.size(); }
  // Borrowed from the list, and from what it is moved to.
  std::string_view path(std::size_t index) const { return paths_[index]; }
  bool isFileURL(std::size_t index) const { return isFile_[index]; }

 private:
  std::size_t count_ = 0;
  TextBlocks text_;
  std::vector<std::string_view> paths_;  // borrowed from text_
  std::vector<bool> isFile_;
};

}  // namespace kelpie
