#pragma once

#include <cstdint>
#include <span>

namespace kelpie {

// The sections of a picker of references, by their numbers in the references tree, in the order in
// which they are shown.
using PickerSections = std::span<const std::uint64_t>;

// 1 is local branches, 2 tags, 3 remote branches.
inline constexpr std::uint64_t kBranches[] = {1};
inline constexpr std::uint64_t kTags[] = {2};
inline constexpr std::uint64_t kRemotes[] = {3};
inline constexpr std::uint64_t kBranchesTags[] = {1, 2};
inline constexpr std::uint64_t kBranchesRemotes[] = {1, 3};
inline constexpr std::uint64_t kBranchesRemotesTags[] = {1, 3, 2};
inline constexpr std::uint64_t kRemotesBranchesTags[] = {3, 1, 2};

}  // namespace kelpie
