#include "foundation/PrintableText.h"

#include <cstddef>
#include <cstdint>

#include "foundation/Text.h"

namespace kelpie {
namespace {

constexpr std::string_view kEllipsis = "…";

std::uint32_t codePoint(std::string_view sequence) {
  constexpr unsigned kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  std::uint32_t value = static_cast<unsigned char>(sequence[0]) & kLeadBits[sequence.size()];
  for (const char byte : sequence.substr(1))
    value = (value << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
  return value;
}

// Characters that move the cursor, end the line or turn the direction of what follows.
bool steers(std::uint32_t character) {
  struct Range {
    std::uint32_t first;
    std::uint32_t last;
  };
  constexpr Range kRanges[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                               {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};
  for (const Range& range : kRanges)
    if (character >= range.first && character <= range.last) return true;
  return false;
}

void appendEscaped(std::string& text, std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += "\\x";
    text += kDigits[value >> 4U];
    text += kDigits[value & 0x0FU];
  }
}

// Calls `visit` with each sequence, or each byte that begins none, and whether it may be shown.
template <class Visit>
void forEachSequence(std::string_view bytes, Visit visit) {
  while (!bytes.empty()) {
    const std::size_t length = utf8SequenceLength(bytes);
    const std::string_view sequence = bytes.substr(0, length == 0 ? 1 : length);
    bytes.remove_prefix(sequence.size());
    visit(sequence, isPrintable(sequence));
  }
}

}  // namespace

bool isPrintable(std::string_view sequence) {
  return utf8SequenceLength(sequence) == sequence.size() && !sequence.empty() &&
         !steers(codePoint(sequence));
}

std::string printableText(std::string_view bytes, bool utf8) {
  std::string text;
  text.reserve(bytes.size());
  forEachSequence(bytes, [&](std::string_view sequence, bool isPlain) {
    if (isPlain && (sequence.size() == 1 || utf8))
      text += sequence;
    else if (sequence == kEllipsis)
      text += "...";
    else
      appendEscaped(text, sequence);
  });
  return text;
}

std::string printableLines(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  forEachSequence(bytes, [&](std::string_view sequence, bool isPlain) {
    if (isPlain || sequence == "\n")
      text += sequence;
    else if (sequence == "\t")
      text += ' ';
    else if (sequence != "\r")
      appendEscaped(text, sequence);
  });
  return text;
}

std::string printableTitle(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  forEachSequence(bytes, [&](std::string_view sequence, bool isPlain) {
    text += isPlain ? sequence : kReplacementCharacter;
  });
  return text;
}

}  // namespace kelpie
