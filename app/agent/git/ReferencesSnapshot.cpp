#include "agent/git/ReferencesSnapshot.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace kelpie::agent {
namespace {

template <class Test>
const Reference* findReference(const ReferencesSnapshot& snapshot, Test test) {
  for (const auto* list : {&snapshot.branches, &snapshot.tags, &snapshot.remoteBranches})
    for (const Reference& reference : *list)
      if (test(reference)) return &reference;
  return nullptr;
}

}  // namespace

const Reference* ReferencesSnapshot::referenceWithNumber(std::int64_t number) const {
  return findReference(*this, [&](const Reference& each) { return each.number == number; });
}

const Reference* ReferencesSnapshot::referenceNamed(std::string_view fullName) const {
  return findReference(*this, [&](const Reference& each) { return each.fullName == fullName; });
}

const Remote* ReferencesSnapshot::remoteOf(const Reference& remoteBranch) const {
  constexpr std::string_view kRemotes = "refs/remotes/";
  std::string_view name = remoteBranch.fullName;
  if (!name.starts_with(kRemotes)) return nullptr;
  name.remove_prefix(kRemotes.size());
  // A remote that `left` begins with is the last one up to it, or also the beginning of that one.
  for (std::string_view left = name; !left.empty();) {
    const auto after = std::ranges::upper_bound(remotes, left, {}, &Remote::name);
    if (after == remotes.begin()) return nullptr;
    const std::string_view before = std::prev(after)->name;
    const auto differ = std::ranges::mismatch(before, left);
    const auto common = static_cast<std::size_t>(differ.in1 - before.begin());
    if (common == before.size() && common < name.size() && name[common] == '/')
      return &*std::prev(after);
    left = left.substr(0, std::min(common, left.size() - 1));
  }
  return nullptr;
}

}  // namespace kelpie::agent
