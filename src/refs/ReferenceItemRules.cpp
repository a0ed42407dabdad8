#include "refs/ReferenceItemRules.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "refs/KPReference.h"
#include "refs/PathComponents.h"
#include "refs/ReferenceOutline.h"

namespace kelpie {
namespace {

// Whether the item's full name is `name`. An absent value equals nothing, not even another absent
// value as well. The size settles it for nearly all items without a look at their records.
bool isFullName(const ReferenceEntry& item, const std::optional<std::string>& name) {
  return name && item.fullNameSize == name->size() && item.record->fullName() == name;
}

bool never(const ReferenceEntry& /*item*/, const KPReference* /*reference*/) { return false; }

bool isHead(const ReferenceEntry& item, const KPReference* /*reference*/) { return item.isHead; }

bool isDetached(const ReferenceEntry& item, const KPReference* /*reference*/) {
  return item.isDetached;
}

bool hasOid(const ReferenceEntry& item, const KPReference* /*reference*/) { return item.hasOid; }

bool hasNoUpstream(const ReferenceEntry& item, const KPReference* /*reference*/) {
  return !item.hasUpstream;
}

bool isReference(const ReferenceEntry& item, const KPReference* reference) {
  return reference != nullptr && isFullName(item, reference->fullName());
}

bool isUpstream(const ReferenceEntry& item, const KPReference* reference) {
  return reference != nullptr && isFullName(item, reference->upstreamName());
}

bool isUpstreamOrReference(const ReferenceEntry& item, const KPReference* reference) {
  return isUpstream(item, reference) || isReference(item, reference);
}

std::string lastComponent(const ReferenceEntry& item) { return std::string(item.title); }

// `main to "origin/main"`: the upstream is shown without the part before the remote's name.
std::string nameToUpstream(const ReferenceEntry& item) {
  if (!item.hasUpstream) return lastComponent(item);
  std::string_view upstream = item.upstreamName;
  cutFirstPathComponent(upstream);  // "refs"
  cutFirstPathComponent(upstream);  // "remotes"

  constexpr std::string_view kTo = " to \"";
  std::string title;
  title.reserve(item.name.size() + kTo.size() + upstream.size() + 1);
  title += item.name;
  title += kTo;
  while (!upstream.empty()) {
    title += cutFirstPathComponent(upstream);
    if (!upstream.empty()) title += '/';
  }
  title += '"';
  return title;
}

// clang-format off
constexpr ReferenceItemRule kRules[] = {
    // action            on when      disabled when          else enabled when  title
    {"checkout:",        isHead,      isHead,                hasOid,            lastComponent},
    {"compareCommits:",  never,       isReference,           hasOid,            lastComponent},
    {"deleteBranches:",  never,       isHead,                hasOid,            lastComponent},
    {"fastForward:",     never,       hasNoUpstream,         hasOid,            nameToUpstream},
    {"merge:",           isUpstream,  isHead,                hasOid,            lastComponent},
    {"pull:",            isUpstream,  isHead,                hasOid,            lastComponent},
    {"rebase:",          isUpstream,  isHead,                hasOid,            lastComponent},
    {"reset:",           isUpstream,  isHead,                hasOid,            lastComponent},
    {"renameBranch:",    never,       isDetached,            hasOid,            lastComponent},
    {"track:",           isUpstream,  isUpstreamOrReference, hasOid,            lastComponent},
};
constexpr ReferenceItemRule kAnyOtherAction =
    {"",                 never,       never,                 hasOid,            lastComponent};
// clang-format on

}  // namespace

const ReferenceItemRule& ruleForAction(std::string_view action) {
  const auto* rule = std::ranges::find(kRules, action, &ReferenceItemRule::action);
  return rule != std::end(kRules) ? *rule : kAnyOtherAction;
}

}  // namespace kelpie
