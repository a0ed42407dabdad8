#include "foundation/TextBlocks.h"

#include <algorithm>
#include <cstddef>

namespace kelpie {

std::string_view TextBlocks::add(std::string_view text) {
  constexpr std::size_t kSmallest = 64;
  constexpr std::size_t kLargest = std::size_t{64} << 10U;
  if (text.empty()) return {};
  if (blocks_.empty() || blocks_.back().capacity() - blocks_.back().size() < text.size()) {
    const std::size_t next = blocks_.empty() ? kSmallest : 2 * blocks_.back().capacity();
    blocks_.emplace_back().reserve(std::max(std::min(next, kLargest), text.size()));
  }
  std::vector<char>& block = blocks_.back();
  const std::size_t begin = block.size();
  // Stays in its place, since there is room for it.
  block.insert(block.end(), text.begin(), text.end());
  return {block.data() + begin, text.size()};
}

}  // namespace kelpie
