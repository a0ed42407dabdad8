#include "common/BadgeEmblems.h"

#include <algorithm>
#include <array>

#include "protocol/BadgeIdentifiers.h"

namespace kelpie::filemanagers {
namespace {

// The names that filemanagers/CMakeLists.txt gives the images when it installs them as icons.
constexpr std::array<BadgeEmblem, 13> kEmblems = {{
    {badge::kCurrent, "kelpie-current"},
    {badge::kIndexNew, "kelpie-index-new"},
    {badge::kIndexModified, "kelpie-index-modified"},
    {badge::kIndexDeleted, "kelpie-index-deleted"},
    {badge::kIndexRenamed, "kelpie-index-renamed"},
    {badge::kIndexTypeChanged, "kelpie-index-type-changed"},
    {badge::kWorkdirNew, "kelpie-workdir-new"},
    {badge::kWorkdirModified, "kelpie-workdir-modified"},
    {badge::kWorkdirDeleted, "kelpie-workdir-deleted"},
    {badge::kWorkdirTypeChanged, "kelpie-workdir-type-changed"},
    {badge::kWorkdirRenamed, "kelpie-workdir-renamed"},
    {badge::kIgnored, "kelpie-ignored"},
    {badge::kConflicted, "kelpie-conflicted"},
}};

}  // namespace

std::span<const BadgeEmblem> badgeEmblems() { return kEmblems; }

std::string_view emblemOf(std::string_view identifier) {
  const auto found = std::ranges::find(kEmblems, identifier, &BadgeEmblem::identifier);
  return found == kEmblems.end() ? std::string_view() : found->emblem;
}

}  // namespace kelpie::filemanagers
