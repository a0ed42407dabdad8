#pragma once

#include <string_view>

// The identifiers of the badges, as file managers know them.
namespace kelpie::badge {

inline constexpr std::string_view kCurrent = "KPCurrentBadge";
inline constexpr std::string_view kIndexNew = "KPIndexNewBadge";
inline constexpr std::string_view kIndexModified = "KPIndexModifiedBadge";
inline constexpr std::string_view kIndexDeleted = "KPIndexDeletedBadge";
inline constexpr std::string_view kIndexRenamed = "KPIndexRenamedBadge";
inline constexpr std::string_view kIndexTypeChanged = "KPIndexTypeChangedBadge";
inline constexpr std::string_view kWorkdirNew = "KPWorkdirNewBadge";
inline constexpr std::string_view kWorkdirModified = "KPWorkdirModifiedBadge";
inline constexpr std::string_view kWorkdirDeleted = "KPWorkdirDeletedBadge";
inline constexpr std::string_view kWorkdirTypeChanged = "KPWorkdirTypeChangedBadge";
inline constexpr std::string_view kWorkdirRenamed = "KPWorkdirRenamedBadge";
inline constexpr std::string_view kIgnored = "KPIgnoredBadge";
inline constexpr std::string_view kConflicted = "KPConflictedBadge";
// The badge of an item that must stay bare; it has no image.
inline constexpr std::string_view kEmpty = "KPEmptyBadge";

}  // namespace kelpie::badge
