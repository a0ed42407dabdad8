#pragma once

#include <string_view>

namespace kelpie {

// The keys of a status dictionary, the argument of selector::kSetStatusInfo.
inline constexpr std::string_view kRepositoryStateKey = "KPRepositoryState";
inline constexpr std::string_view kRepositoryStatusKey = "KPRepositoryStatus";
inline constexpr std::string_view kStatusCreatedDirectoriesKey =
    "KPStatusCreatedDirectoriesForDeletedItems";
inline constexpr std::string_view kStatusDirtyUrlsKey = "KPStatusDirtyURLs";
inline constexpr std::string_view kStatusIgnoredUrlsKey = "KPStatusIgnoredURLs";
inline constexpr std::string_view kStatusDeletedUrlsKey = "KPStatusDeletedURLs";
inline constexpr std::string_view kStatusNewCountKey = "KPStatusNewCount";
inline constexpr std::string_view kStatusRenamedItemsKey = "KPStatusObservedPathsForRenamedItems";

// The ending that marks the path of a deleted item, and that no file's path has: a blank, the
// control character SHIFT OUT, and the word.
inline constexpr std::string_view kDeletedItemSuffix = " \x0E.kelpieDeleted";

}  // namespace kelpie
