#include "protocol/StatusWord.h"

namespace kelpie {
namespace {

// Holds for a word with one of the bits `any`, or whose bits `mask` read as a number from `low` to
// `high`.
struct WordRule {
  StatusWord any;
  StatusWord mask;
  StatusWord low;
  StatusWord high;

  constexpr bool holds(StatusWord word) const {
    const int masked = word & mask;
    return (word & any) != 0 || (low <= masked && masked <= high);
  }
};

//                                          any     mask    low     high
constexpr WordRule kStaged = {0x0000, 0xFFFF, 0x0001, 0x003F};
constexpr WordRule kUnstaged = {0x0000, 0xFFFF, 0x0080, 0x0FFF};
constexpr WordRule kDiffable = {0x8000, 0xFFFF, 0x0001, 0x0FFF};
constexpr WordRule kDiscardable = {0x8000, 0xFFFF, 0x0001, 0x0FFF};
constexpr WordRule kRevertable = {0x0000, 0xF081, 0x0000, 0x0000};
constexpr WordRule kTracked = {0x0000, 0xFFFF, 0x0000, 0x0FFF};
constexpr WordRule kConflicted = {0x0000, 0x8000, 0x8000, 0x8000};
constexpr WordRule kWithoutAncestor = {0x0000, 0x9000, 0x9000, 0x9000};

}  // namespace

bool isStagedStatus(StatusWord word) { return kStaged.holds(word); }
bool isUnstagedStatus(StatusWord word) { return kUnstaged.holds(word); }
bool isDiffableStatus(StatusWord word) { return kDiffable.holds(word); }
bool isDiscardableStatus(StatusWord word) { return kDiscardable.holds(word); }
bool isRevertableStatus(StatusWord word) { return kRevertable.holds(word); }
bool isTrackedStatus(StatusWord word) { return kTracked.holds(word); }

std::int64_t conflictOfStatus(StatusWord word) {
  if (kWithoutAncestor.holds(word)) return -1;
  return kConflicted.holds(word) ? 1 : 0;
}

}  // namespace kelpie
