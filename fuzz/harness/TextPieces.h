#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie {

// An input that is several texts, in a form that makes long texts of few bytes: what costs too much
// only shows at some length, and a fuzzer's inputs are short.
//
//   \x1d             stands between two texts
//   \x1e c ... \x1f  what stands between these is repeated: 2 to the power of c modulo 14 times;
//                    without the \x1f, all up to the end of the text is
//   \x1a             stands for a number that is another one each time
//   \x05             stands for the folder
//
// All texts together are cut at kMostBytes.
class TextPieces {
 public:
  static constexpr std::size_t kMostBytes = std::size_t{96} << 10U;
  // What a line of the host link costs of itself: see sizeWith().
  static constexpr std::size_t kBytesOfHostLine = 16;

  explicit TextPieces(std::string_view input, std::string folder = {});

  const std::vector<std::string>& all() const { return pieces_; }
  // The bytes of all texts.
  std::size_t size() const { return size_; }
  // The same, where a record (up to a line end or a zero byte) counts as so many bytes more: what
  // it costs of itself, however short it is.
  std::size_t sizeWith(std::size_t bytesOfRecord) const;

  // The next text; empty when there is none left.
  std::string next();
  bool hasNext() const { return next_ < pieces_.size(); }

 private:
  std::string grown(std::string_view piece);
  // Appends `part` so often, and not much beyond `room` bytes.
  void append(std::string_view part, std::size_t count, std::size_t room, std::string& text);

  std::string folder_;
  std::vector<std::string> pieces_;
  std::size_t size_ = 0;
  std::size_t next_ = 0;
  std::size_t number_ = 0;
};

// The lines of the text, without their ends.
std::vector<std::string_view> linesOf(std::string_view text);

}  // namespace kelpie
