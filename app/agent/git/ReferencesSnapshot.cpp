#include "agent/git/ReferencesSnapshot.h"

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
  const Remote* best = nullptr;
  for (const Remote& remote : remotes) {
    const std::string prefix = "refs/remotes/" + remote.name + "/";
    if (!remoteBranch.fullName.starts_with(prefix)) continue;
    if (best == nullptr || best->name.size() < remote.name.size()) best = &remote;
  }
  return best;
}

}  // namespace kelpie::agent
