#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace kelpie {
namespace {

// The well-formed sequences (Unicode Standard, table 3-7). Bytes after the second are 80 to BF.
struct LeadBytes {
  std::uint8_t first;
  std::uint8_t last;
  std::uint8_t length;
  std::uint8_t secondFirst;
  std::uint8_t secondLast;
};

constexpr std::array<LeadBytes, 9> kLeadBytes = {{
    {0x00, 0x7F, 1, 0x00, 0x00},
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
}};

bool isBetween(char character, std::uint8_t first, std::uint8_t last) {
  const auto byte = static_cast<std::uint8_t>(character);
  return first <= byte && byte <= last;
}

bool isAscii(char character) { return static_cast<std::uint8_t>(character) < 0x80; }

}  // namespace

std::size_t utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  for (const LeadBytes& lead : kLeadBytes) {
    if (!isBetween(text[0], lead.first, lead.last)) continue;
    if (lead.length == 1) return 1;
    if (text.size() < lead.length || !isBetween(text[1], lead.secondFirst, lead.secondLast))
      return 0;
    const std::string_view rest = text.substr(2, lead.length - 2U);
    const bool whole = std::all_of(rest.begin(), rest.end(),
                                   [](char byte) { return isBetween(byte, 0x80, 0xBF); });
    return whole ? lead.length : 0;
  }
  return 0;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = isAscii(text[0]) ? 1 : utf8SequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string displayText(std::string_view bytes) {
  if (isUtf8(bytes)) return std::string(bytes);
  std::string shown;
  shown.reserve(bytes.size() + kReplacementCharacter.size());
  while (!bytes.empty()) {
    const std::size_t length = utf8SequenceLength(bytes);
    shown += length == 0 ? kReplacementCharacter : bytes.substr(0, length);
    bytes.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return shown;
}

}  // namespace kelpie
