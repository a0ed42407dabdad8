#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

// What the rules say of a status word, written down the slow and literal way, bit by bit, so that
// all 65,536 words can be checked against it. It shares nothing with the code under test.
namespace kelpie::oracle {

inline bool bit(unsigned word, int position) { return (word >> position & 1U) != 0; }

inline bool staged(unsigned s) { return s >= 0x0001 && s <= 0x003F; }
inline bool unstaged(unsigned s) { return s >= 0x0080 && s <= 0x0FFF; }
inline bool diffable(unsigned s) { return bit(s, 15) || (s >= 0x0001 && s <= 0x0FFF); }
inline bool revertable(unsigned s) {
  for (const int position : {0, 7, 12, 13, 14, 15})
    if (bit(s, position)) return false;
  return true;
}
inline bool tracked(unsigned s) { return !bit(s, 12) && !bit(s, 13) && !bit(s, 14) && !bit(s, 15); }
inline int conflict(unsigned s) {
  if (!bit(s, 15)) return 0;
  return bit(s, 12) ? -1 : 1;
}

inline std::string badge(unsigned s) {
  const char* const byBit[] = {
      "KPIndexNewBadge",
      "KPIndexModifiedBadge",
      "KPIndexDeletedBadge",
      "KPIndexRenamedBadge",
      "KPIndexTypeChangedBadge",
      "",
      "",
      "KPWorkdirNewBadge",
      "KPWorkdirModifiedBadge",
      "KPWorkdirDeletedBadge",
      "KPWorkdirTypeChangedBadge",
      "KPWorkdirRenamedBadge",
      "",
      "KPWorkdirNewBadge",
      "KPIgnoredBadge",
      "KPConflictedBadge",
  };
  for (int position = 15; position >= 0; --position)
    if (bit(s, position)) return byBit[position];
  return "KPCurrentBadge";
}

// The bit on which the search for the index bit settles: from 4 down, then from 31 down, modulo
// 32. Absent where it goes round for ever.
inline std::optional<int> indexBit(unsigned s) {
  int position = 4;
  for (int step = 0; step < 64; ++step) {
    if (bit(s, position)) return position;
    position = (position + 31) % 32;
  }
  return std::nullopt;
}

inline std::optional<int> workdirBit(unsigned s) {
  for (const int position : {11, 10, 9, 8, 7})
    if (bit(s, position)) return position;
  return std::nullopt;
}

// Absent where the call does not return.
inline std::optional<unsigned> afterStaging(unsigned s) {
  const std::optional<int> w = workdirBit(s);
  const std::optional<int> i = indexBit(s);
  if (!i) return std::nullopt;
  if (bit(s, 2) && bit(s, 7)) return 0;
  if (*i == 3 && w != 9) return 0x0008;
  if (*i == 2 && w != 7) return 0x0002;
  if (*i == 0) return 0x0001;
  if (!w) return 0;
  switch (*w) {
    case 7:
      return 0x0001;
    case 8:
      return 0x0002;
    case 9:
      return 0x0004;
    case 10:
      return 0x0010;
    default:
      return 0x0008;
  }
}

inline std::optional<unsigned> afterUnstaging(unsigned s) {
  const std::optional<int> i = indexBit(s);
  if (!i) return std::nullopt;
  switch (*i) {
    case 0:
      return 0x0080;
    case 1:
      return 0x0100;
    case 2:
      return 0x0200;
    case 3:
      return 0x0800;
    case 4:
      return 0x0400;
    default:
      return 0;
  }
}

}  // namespace kelpie::oracle
