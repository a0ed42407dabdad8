#pragma once

#include <string_view>
#include <vector>

namespace kelpie {

// Many texts kept one behind the other, in blocks that stay where they are: a list of a million
// paths takes their bytes and hardly more, also while it grows. Texts live as long as this, and
// stay in their place when it is moved. Has no lock; its owner guards it.
class TextBlocks {
 public:
  TextBlocks() = default;
  TextBlocks(const TextBlocks&) = delete;
  TextBlocks& operator=(const TextBlocks&) = delete;
  TextBlocks(TextBlocks&&) = default;
  TextBlocks& operator=(TextBlocks&&) = default;
  ~TextBlocks() = default;

  // Keeps a copy, and returns where it is.
  std::string_view add(std::string_view text);

 private:
  std::vector<std::vector<char>> blocks_;
};

}  // namespace kelpie
