#include "harness/TextPieces.h"

#include <algorithm>
#include <utility>

namespace kelpie {
namespace {

constexpr char kBetween = '\x1d';
constexpr char kRepeated = '\x1e';
constexpr char kRepeatedEnd = '\x1f';
constexpr char kNumber = '\x1a';
constexpr char kFolder = '\x05';
constexpr unsigned kMostDoublings = 14;

}  // namespace

TextPieces::TextPieces(std::string_view input, std::string folder) : folder_(std::move(folder)) {
  for (;;) {
    const std::size_t end = std::min(input.find(kBetween), input.size());
    pieces_.push_back(grown(input.substr(0, end)));
    size_ += pieces_.back().size();
    if (end == input.size()) return;
    input.remove_prefix(end + 1);
  }
}

std::size_t TextPieces::sizeWith(std::size_t bytesOfRecord) const {
  std::size_t records = 0;
  for (const std::string& piece : pieces_)
    records += static_cast<std::size_t>(
        std::ranges::count_if(piece, [](char each) { return each == '\n' || each == '\0'; }));
  return size_ + bytesOfRecord * records;
}

std::string TextPieces::next() { return hasNext() ? pieces_[next_++] : std::string(); }

std::string TextPieces::grown(std::string_view piece) {
  const std::size_t room = kMostBytes - size_;
  std::string text;
  while (!piece.empty() && text.size() < room) {
    const std::size_t plain = std::min(piece.find(kRepeated), piece.size());
    append(piece.substr(0, plain), 1, room, text);
    piece.remove_prefix(plain);
    if (piece.size() < 2) break;
    const unsigned doublings = static_cast<unsigned char>(piece[1]) % kMostDoublings;
    piece.remove_prefix(2);
    const std::size_t end = std::min(piece.find(kRepeatedEnd), piece.size());
    append(piece.substr(0, end), std::size_t{1} << doublings, room, text);
    piece.remove_prefix(std::min(end + 1, piece.size()));
  }
  text.resize(std::min(text.size(), room));
  return text;
}

void TextPieces::append(std::string_view part, std::size_t count, std::size_t room,
                        std::string& text) {
  if (part.empty()) return;
  for (; count > 0 && text.size() < room; --count)
    for (const char each : part)
      if (each == kNumber)
        text += std::to_string(number_++);
      else if (each == kFolder && !folder_.empty())
        text += folder_;
      else
        text += each;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    lines.push_back(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(text.size(), lines.back().size() + 1));
  }
  return lines;
}

}  // namespace kelpie
