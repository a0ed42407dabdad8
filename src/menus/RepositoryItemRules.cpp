#include "menus/RepositoryItemRules.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "foundation/URL.h"
#include "menus/MenuHost.h"
#include "protocol/ReferenceKeys.h"
#include "refs/KPRefsManager.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

// -- When an item applies: without a repository every answer but that of canCreate is no ----------

using Shown = bool(const ItemQuestion& question);

bool canCreate(const ItemQuestion& question) { return question.canCreate; }

bool repository(const ItemQuestion& question) { return question.repository != nullptr; }

bool notBare(const ItemQuestion& question) {
  return repository(question) && !question.repository->refsManager()->isBare();
}

// Not in the middle of a merge, a rebase or the like.
bool notBareAtRest(const ItemQuestion& question) {
  return notBare(question) && question.repository->state() == 0;
}

bool isDirty(const ItemQuestion& question) {
  return repository(question) && question.repository->isDirty();
}

template <bool (KPRefsManager::*Answer)() const>
bool references(const ItemQuestion& question) {
  return repository(question) && (question.repository->refsManager().get()->*Answer)();
}

constexpr Shown* hasStashes = references<&KPRefsManager::hasStashes>;
constexpr Shown* hasRemotes = references<&KPRefsManager::hasRemotes>;
constexpr Shown* hasSubmodules = references<&KPRefsManager::hasSubmodules>;
constexpr Shown* hasPullRequests = references<&KPRefsManager::hasPullRequests>;
constexpr Shown* hasGitlfs = references<&KPRefsManager::hasGitlfs>;

Object gitflowInfo(const ItemQuestion& question) {
  return repository(question) ? question.repository->refsManager()->gitflowInfo() : Object();
}

bool hasGitflow(const ItemQuestion& question) { return !gitflowInfo(question).isNil(); }

bool hasFeatures(const ItemQuestion& question) {
  return gitflowInfo(question)[kGitflowFeaturesKey].size() > 0;
}

bool hasReleases(const ItemQuestion& question) {
  return gitflowInfo(question)[kGitflowReleasesKey].size() > 0;
}

bool hasHotfixes(const ItemQuestion& question) {
  return gitflowInfo(question)[kGitflowHotfixesKey].size() > 0;
}

// Features may be open side by side; of releases and hotfixes one at a time.
bool noRelease(const ItemQuestion& question) {
  return hasGitflow(question) && !hasReleases(question);
}

bool noHotfix(const ItemQuestion& question) {
  return hasGitflow(question) && !hasHotfixes(question);
}

// -- What an item is made of ----------------------------------------------------------------------

// An item for an action that works on `object`, or on the repository alone if that is null.
struct Plain {
  Object (*object)(const ItemQuestion& question) = nullptr;
};

// An item that picks a reference. The picker's entries carry the action.
enum class Headers : bool { No, Yes };
enum class Compare : bool { WithNothing, WithHead };
struct Picker {
  PickerSections sections;
  Headers headers = Headers::No;
  Compare compare = Compare::WithNothing;
};

// An item above a flat list whose entries carry the action, and, if named, one more entry for all.
struct List {
  std::shared_ptr<const Menu> (KPRefsManager::*make)(std::string_view action) const;
  std::string_view all = {};
};

// An item above a list that brings its own action along.
struct FinishList {
  std::shared_ptr<const Menu> (KPRefsManager::*make)() const;
};

Object targetURLs(const ItemQuestion& question) {
  const std::vector<URL>& urls = question.host.targetURLs();
  return Objects(urls.begin(), urls.end());
}

std::shared_ptr<const Menu> withEntryForAll(const std::shared_ptr<const Menu>& menu,
                                            std::string_view title, std::string_view action) {
  if (menu == nullptr || title.empty()) return menu;
  auto extended = std::make_shared<Menu>(*menu);
  MenuItem& entry = extended->items.emplace_back(std::string(title), std::string(action));
  entry.tag = kAllRemotesTag;
  return extended;
}

// Fills the draft as the row of the table says.
struct Completion {
  MenuItemDraft& draft;
  std::string_view action;
  const ItemQuestion& question;

  void operator()(const Plain& plain) const {
    draft.action = action;
    if (plain.object != nullptr) draft.representedObject = plain.object(question);
  }
  void operator()(const Picker& picker) const {
    draft.action = action;
    draft.picker = picker.sections;
    draft.hasHeader = picker.headers == Headers::Yes;
    if (picker.compare == Compare::WithHead)
      draft.reference = question.repository->refsManager()->headBranch();
  }
  void operator()(const List& list) const {
    draft.submenu = withEntryForAll((question.repository->refsManager().get()->*list.make)(action),
                                    list.all, action);
  }
  void operator()(const FinishList& list) const {
    draft.submenu = (question.repository->refsManager().get()->*list.make)();
  }
};

// -- The table ------------------------------------------------------------------------------------

struct RepositoryItemRule {
  std::int64_t tag;
  Shown* shown;
  std::string_view action;
  std::variant<Plain, Picker, List, FinishList> contents = Plain{};
};

constexpr auto kHeaders = Headers::Yes;
constexpr auto kNoHeaders = Headers::No;
constexpr auto kHead = Compare::WithHead;
using Refs = KPRefsManager;

// clang-format off
constexpr RepositoryItemRule kRepositoryItems[] = {
    { 1, canCreate,       "clone:"},
    { 2, canCreate,       "createRepository:"},
    { 3, repository,      "showBrowser:"},
    { 4, repository,      "showSettings:"},
    { 5, repository,      "commit:",                Plain{targetURLs}},
    { 6, notBare,         "checkout:",              Picker{kBranches}},
    { 7, isDirty,         "discardAll:"},
    { 8, notBareAtRest,   "reset:",                 Picker{kRemotesBranchesTags, kHeaders, kHead}},
    { 9, notBareAtRest,   "merge:",                 Picker{kRemotesBranchesTags, kHeaders, kHead}},
    {10, notBareAtRest,   "rebase:",                Picker{kRemotesBranchesTags, kHeaders, kHead}},
    {11, repository,      "applyPatch:"},
    {13, hasStashes,      "applyStash:",            List{&Refs::stashesMenuWithAction}},
    {14, hasStashes,      "deleteStashes:",         List{&Refs::stashesMenuWithAction}},
    {15, repository,      "renameBranch:",          Picker{kBranchesRemotes, kHeaders}},
    {16, repository,      "deleteBranches:",        Picker{kBranchesRemotes, kHeaders}},
    {17, repository,      "createBranch:",          Picker{kBranchesRemotesTags, kHeaders}},
    {18, repository,      "createTag:",             Picker{kBranches}},
    {19, repository,      "deleteTags:",            Picker{kTags}},
    {20, repository,      "exportCommits:",         Picker{kBranchesRemotesTags, kHeaders}},
    {21, repository,      "compareCommits:",        Picker{kBranchesRemotesTags, kHeaders}},
    {22, repository,      "addRemote:"},
    {23, hasRemotes,      "deleteRemotes:",         List{&Refs::remotesMenuWithAction}},
    {24, hasRemotes,      "showRemoteSettings:",    List{&Refs::remotesMenuWithAction}},
    {25, hasRemotes,      "fetch:",    List{&Refs::remotesMenuWithAction, "Fetch All Remotes"}},
    {26, hasRemotes,      "prune:",    List{&Refs::remotesMenuWithAction, "Prune All Remotes"}},
    {27, hasRemotes,      "pull:",                  Picker{kRemotes, kNoHeaders, kHead}},
    {28, hasRemotes,      "push:",                  Picker{kBranchesTags, kHeaders, kHead}},
    {29, repository,      "addSubmodule:"},
    {30, hasSubmodules,   "deleteSubmodules:",      List{&Refs::submodulesMenuWithAction}},
    {31, hasSubmodules,   "showSubmoduleSettings:", List{&Refs::submodulesMenuWithAction}},
    {34, hasGitflow,      "startGitflowFeature:"},
    {35, hasFeatures,     "",                       FinishList{&Refs::gitflowFeaturesMenu}},
    {36, noRelease,       "startGitflowRelease:"},
    {37, hasReleases,     "",                       FinishList{&Refs::gitflowReleasesMenu}},
    {38, noHotfix,        "startGitflowHotfix:"},
    {39, hasHotfixes,     "",                       FinishList{&Refs::gitflowHotfixesMenu}},
    {40, hasGitlfs,       "lfsFetch:"},
    {41, hasGitlfs,       "lfsPush:"},
    {42, hasGitlfs,       "lfsPrune:"},
    {43, hasPullRequests, "createPullRequest:",     List{&Refs::pullRequestsMenuWithAction}},
    {44, repository,      "fastForward:",           Picker{kBranches}},
};
// clang-format on

static_assert(std::ranges::is_sorted(kRepositoryItems, {}, &RepositoryItemRule::tag));

}  // namespace

std::optional<MenuItemDraft> draftRepositoryItem(std::int64_t tag, std::string_view title,
                                                 const ItemQuestion& question) {
  const auto* const rule =
      std::ranges::lower_bound(kRepositoryItems, tag, {}, &RepositoryItemRule::tag);
  if (rule == std::end(kRepositoryItems) || rule->tag != tag) return std::nullopt;
  if (!rule->shown(question)) return std::nullopt;

  MenuItemDraft draft;
  draft.title = std::string(title);
  std::visit(Completion{draft, rule->action, question}, rule->contents);
  return draft;
}

}  // namespace kelpie
