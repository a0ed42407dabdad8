#include "linux/base/LineReader.h"

#include <utility>

namespace kelpie {

void LineReader::feed(std::string_view bytes, FunctionRef<bool(std::string_view line)> onLine,
                      FunctionRef<bool()> onOverlong) {
  while (!bytes.empty()) {
    const std::size_t end = bytes.find('\n');
    const bool complete = end != std::string_view::npos;
    const std::string_view piece = bytes.substr(0, complete ? end : bytes.size());
    bytes.remove_prefix(complete ? end + 1 : bytes.size());

    bool goOn = true;
    if (!skipping_ && partial_.size() + piece.size() > maximumLength_) {
      partial_ = {};
      skipping_ = true;
      goOn = onOverlong();
    } else if (!skipping_ && complete && partial_.empty()) {
      goOn = onLine(piece);
    } else if (!skipping_) {
      partial_ += piece;
      if (complete) {
        const std::string line = std::exchange(partial_, {});
        goOn = onLine(line);
      }
    }
    if (complete) skipping_ = false;
    if (!goOn) {
      partial_ = {};
      return;
    }
  }
}

}  // namespace kelpie
