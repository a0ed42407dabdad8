#include "foundation/Utf16.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "foundation/Text.h"

namespace kelpie {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void appendUtf8(std::string& text, char32_t character) {
  const auto tail = [&](unsigned shift) {
    return static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
  };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0U | (character >> 6U));
    text += tail(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0U | (character >> 12U));
    text += tail(6);
    text += tail(0);
  } else {
    text += static_cast<char>(0xF0U | (character >> 18U));
    text += tail(12);
    text += tail(6);
    text += tail(0);
  }
}

// The character that the UTF-8 sequence `sequence` stands for; it must be one.
char32_t characterOf(std::string_view sequence) {
  const auto byte = [&](std::size_t index) {
    return static_cast<char32_t>(static_cast<unsigned char>(sequence[index]));
  };
  switch (sequence.size()) {
    case 1:
      return byte(0);
    case 2:
      return (byte(0) & 0x1FU) << 6U | (byte(1) & 0x3FU);
    case 3:
      return (byte(0) & 0xFU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
    default:
      return (byte(0) & 0x7U) << 18U | (byte(1) & 0x3FU) << 12U | (byte(2) & 0x3FU) << 6U |
             (byte(3) & 0x3FU);
  }
}

void appendUnit(Bytes& codeUnits, char32_t unit) {
  codeUnits.push_back(static_cast<std::uint8_t>(unit >> 8U));
  codeUnits.push_back(static_cast<std::uint8_t>(unit & 0xFFU));
}

bool isHighSurrogate(char32_t unit) { return (unit & 0xFC00U) == 0xD800U; }
bool isLowSurrogate(char32_t unit) { return (unit & 0xFC00U) == 0xDC00U; }

}  // namespace

std::string utf8FromUtf16(ByteView codeUnits) {
  const std::size_t count = codeUnits.size() / 2;
  const auto unit = [&](std::size_t index) {
    return static_cast<char32_t>(codeUnits[2 * index] << 8U | codeUnits[2 * index + 1]);
  };
  std::string text;
  text.reserve(codeUnits.size());
  for (std::size_t index = 0; index < count; ++index) {
    char32_t character = unit(index);
    if (isHighSurrogate(character) && index + 1 < count && isLowSurrogate(unit(index + 1))) {
      ++index;
      character = 0x10000U + ((character & 0x3FFU) << 10U) + (unit(index) & 0x3FFU);
    } else if (isHighSurrogate(character) || isLowSurrogate(character)) {
      character = kReplacement;
    }
    appendUtf8(text, character);
  }
  return text;
}

void appendUtf16(Bytes& codeUnits, std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = utf8SequenceLength(text);
    const char32_t character = length == 0 ? kReplacement : characterOf(text.substr(0, length));
    if (character < 0x10000) {
      appendUnit(codeUnits, character);
    } else {
      appendUnit(codeUnits, 0xD800U + ((character - 0x10000U) >> 10U));
      appendUnit(codeUnits, 0xDC00U + ((character - 0x10000U) & 0x3FFU));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace kelpie
