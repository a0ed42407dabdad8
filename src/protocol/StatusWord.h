#pragma once

#include <cstdint>

namespace kelpie {

// The state of one item: a set of 16 flags, as the main application sends it.
using StatusWord = std::uint16_t;

inline constexpr StatusWord KPStatusCurrent = 0x0000;
inline constexpr StatusWord KPStatusIndexNew = 0x0001;
inline constexpr StatusWord KPStatusIndexModified = 0x0002;
inline constexpr StatusWord KPStatusIndexDeleted = 0x0004;
inline constexpr StatusWord KPStatusIndexRenamed = 0x0008;
inline constexpr StatusWord KPStatusIndexTypeChanged = 0x0010;
inline constexpr StatusWord KPStatusWorkdirNew = 0x0080;
inline constexpr StatusWord KPStatusWorkdirModified = 0x0100;
inline constexpr StatusWord KPStatusWorkdirDeleted = 0x0200;
inline constexpr StatusWord KPStatusWorkdirTypeChanged = 0x0400;
inline constexpr StatusWord KPStatusWorkdirRenamed = 0x0800;
inline constexpr StatusWord KPStatusIgnored = 0x4000;
inline constexpr StatusWord KPStatusConflicted = 0x8000;

// The questions that menus ask of an item. They are range tests over the whole word, not masks, so
// that an item that is staged and changed again (0x0102) is unstaged and not staged.
bool isStagedStatus(StatusWord word);
bool isUnstagedStatus(StatusWord word);
bool isDiffableStatus(StatusWord word);
bool isDiscardableStatus(StatusWord word);
bool isRevertableStatus(StatusWord word);
bool isTrackedStatus(StatusWord word);
// 0: no conflict; 1: a conflict; -1: a conflict without a common ancestor.
std::int64_t conflictOfStatus(StatusWord word);

}  // namespace kelpie
