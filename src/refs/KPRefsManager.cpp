#include "refs/KPRefsManager.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "foundation/Image.h"
#include "foundation/KPExtensions.h"
#include "foundation/ObjectView.h"
#include "platform/Log.h"
#include "protocol/ReferenceKeys.h"
#include "refs/ReferenceItemRules.h"

namespace kelpie {
namespace {

constexpr std::uint64_t kFallbackSection = 0;
constexpr std::uint64_t kLocalBranches = 1;
constexpr std::uint64_t kTags = 2;
constexpr std::uint64_t kRemotes = 3;
constexpr std::uint64_t kSubmodules = 4;
constexpr std::uint64_t kPullRequests = 5;

Image branchImage(const Bundle& /*bundle*/) { return {"BranchImage", Image::Source::Resource}; }

// The sections that a picker can show, and how each is headed.
struct PickerSection {
  std::uint64_t number;
  std::string_view title;
  Image (*image)(const Bundle& bundle);
};
constexpr PickerSection kPickerSections[] = {
    {kLocalBranches, kLocalBranchesTitle, branchImage},
    {kTags, kTagsTitle, tagImage},
    {kRemotes, "Remote Branches", branchImage},
};

// What an action on a local branch becomes for remote ones.
struct RemoteAction {
  std::string_view local;
  std::string_view remote;
};
constexpr RemoteAction kRemoteActions[] = {
    {"deleteBranches:", "deleteRemoteBranches:"},
    {"renameBranch:", "renameRemoteBranch:"},
};

std::string_view actionForRemotes(std::string_view action) {
  const auto* found = std::ranges::find(kRemoteActions, action, &RemoteAction::local);
  return found != std::end(kRemoteActions) ? found->remote : action;
}

// The whole name of the node's record; "" when there is none.
std::string_view nameOf(const KPTreeNode& node) {
  const auto& record = node.representedObject();
  if (record == nullptr || !record->name()) return {};
  return *record->name();
}

// The strings of an array, "" for an element of another class; empty for what is no array. A text
// that an archive holds once can stand in a list any number of times, so the sum is bounded: what
// lies beyond is left out, with a line in the log.
std::vector<std::string> titlesOf(const Object& array, Log& log) {
  constexpr std::size_t kMaximumBytes = 64U << 20U;
  std::vector<std::string> titles;
  if (!array.isArray()) return titles;
  std::size_t bytes = 0;
  ObjectView(array).forEachElement([&](ObjectView element) {
    std::string title = element.stringValue();
    bytes += sizeof(std::string) + title.size();
    if (bytes > kMaximumBytes) {
      log.write("A list of stashes or git-flow branches is too long; its end is left out.");
      return false;
    }
    titles.push_back(std::move(title));
    return true;
  });
  return titles;
}

// Adds items that differ in nothing but their title, tagged with their position.
template <class List, class TitleOf>
std::shared_ptr<const Menu> flatMenu(const List& list, std::string_view action, TitleOf titleOf) {
  auto menu = std::make_shared<Menu>();
  menu->items.reserve(list.size());
  for (const auto& element : list) {
    const auto position = static_cast<std::int64_t>(menu->items.size());
    MenuItem& item = menu->items.emplace_back(std::string{titleOf(element)}, std::string{action});
    item.tag = position;
  }
  return menu;
}

std::shared_ptr<const Menu> menuOfTitles(const std::vector<std::string>& titles,
                                         std::string_view action) {
  return flatMenu(titles, action, [](const std::string& title) { return title; });
}

std::shared_ptr<const Menu> menuOfNames(const KPTreeNode::Children& nodes,
                                        std::string_view action) {
  return flatMenu(nodes, action, [](const auto& node) { return nameOf(*node); });
}

std::shared_ptr<const Menu> gitflowMenu(const Object& branches, std::string_view action, Log& log) {
  const std::vector<std::string> names = titlesOf(branches, log);
  return names.empty() ? nullptr : menuOfTitles(names, action);
}

// The section of that number; what no picker shows is logged and falls back to a section without a
// header's title and image.
PickerSection pickerSection(std::uint64_t number, Log& log) {
  const auto* found = std::ranges::find(kPickerSections, number, &PickerSection::number);
  if (found != std::end(kPickerSections)) return *found;
  log.write(
      "-[KPRefsManager menuItemWithTitle:reference:action:submenuTypes:hasHeader:]"
      " -- should not get here(1)!");
  return {kFallbackSection, "", nullptr};
}

MenuItem headerItem(const PickerSection& section, const Bundle& bundle) {
  MenuItem item{std::string(section.title)};
  item.enabled = false;
  if (section.image != nullptr) item.image = section.image(bundle);
  return item;
}

// What the items of one picker have in common.
struct ItemContext {
  std::string_view action;
  const KPReference* reference;
  const ReferenceItemRule& rule;
};

void addLeafItem(const ReferenceEntry& entry, const ItemContext& context, Menu& menu) {
  const ReferenceItemRule& rule = context.rule;
  MenuItem& item = menu.items.emplace_back(rule.title(entry));
  item.state = rule.isOn(entry, context.reference) ? 1 : 0;
  item.enabled =
      !rule.isDisabled(entry, context.reference) && rule.isEnabled(entry, context.reference);
  if (item.enabled) item.action = context.action;
  item.tag = entry.tag;
}

// Goes as deep as the tree, which is KPTreeNode::kMaximumDepth at most.
void addItems(ReferenceEntries entries, const ItemContext& context, Menu& menu) {
  for (std::size_t i = 0; i < entries.size(); i += 1 + entries[i].descendants) {
    const ReferenceEntry& entry = entries[i];
    if (entry.children == 0) {
      addLeafItem(entry, context, menu);
      continue;
    }
    auto submenu = std::make_shared<Menu>();
    submenu->items.reserve(entry.children);
    addItems(entries.subspan(i + 1, entry.descendants), context, *submenu);
    menu.items.emplace_back(std::string(entry.title)).submenu = std::move(submenu);
  }
}

}  // namespace

KPRefsManager::KPRefsManager(const Bundle& bundle, Log& log) : bundle_(bundle), log_(log) {}

void KPRefsManager::setReferences(const Object& references) {
  references_ = references.as<KPTreeNode>();
  outline_ = references_ != nullptr ? ReferenceOutline(*references_) : ReferenceOutline();
}

void KPRefsManager::setStashes(const Object& stashes) {
  stashes_ = stashes.isArray() ? std::optional(titlesOf(stashes, log_)) : std::nullopt;
}

void KPRefsManager::setGitflowInfo(const Object& gitflowInfo) {
  gitflowInfo_ = gitflowInfo.isDictionary() ? gitflowInfo : Object();
}

void KPRefsManager::setHeadBranch(std::shared_ptr<const KPReference> headBranch) {
  headBranch_ = std::move(headBranch);
}

bool KPRefsManager::hasStashes() const { return stashes_ && !stashes_->empty(); }

bool KPRefsManager::hasRemotes() const { return !section(kRemotes).isLeaf(); }

bool KPRefsManager::hasSubmodules() const { return !section(kSubmodules).isLeaf(); }

bool KPRefsManager::hasPullRequests() const { return !section(kPullRequests).isLeaf(); }

std::shared_ptr<const Menu> KPRefsManager::stashesMenuWithAction(std::string_view action) const {
  return menuOfTitles(stashes_.value_or(std::vector<std::string>()), action);
}

std::shared_ptr<const Menu> KPRefsManager::remotesMenuWithAction(std::string_view action) const {
  return menuOfNames(section(kRemotes).childNodes(), action);
}

std::shared_ptr<const Menu> KPRefsManager::submodulesMenuWithAction(std::string_view action) const {
  return menuOfNames(section(kSubmodules).childNodes(), action);
}

std::shared_ptr<const Menu> KPRefsManager::pullRequestsMenuWithAction(
    std::string_view action) const {
  return menuOfNames(section(kPullRequests).childNodes(), action);
}

std::shared_ptr<const Menu> KPRefsManager::gitflowFeaturesMenu() const {
  return gitflowMenu(gitflowInfo_[kGitflowFeaturesKey], "finishGitflowFeature:", log_);
}

std::shared_ptr<const Menu> KPRefsManager::gitflowReleasesMenu() const {
  return gitflowMenu(gitflowInfo_[kGitflowReleasesKey], "finishGitflowRelease:", log_);
}

std::shared_ptr<const Menu> KPRefsManager::gitflowHotfixesMenu() const {
  return gitflowMenu(gitflowInfo_[kGitflowHotfixesKey], "finishGitflowHotfix:", log_);
}

MenuItem KPRefsManager::menuItemWithTitle(std::string title, const KPReference* reference,
                                          std::string_view action,
                                          const std::vector<std::uint64_t>& submenuTypes,
                                          bool hasHeader) const {
  auto menu = std::make_shared<Menu>();
  for (const std::uint64_t number : submenuTypes) {
    const PickerSection chosen = pickerSection(number, log_);
    // Stays changed for the sections that follow, also when this one is empty.
    if (number == kRemotes) action = actionForRemotes(action);
    const ReferenceEntries entries = outline_.entriesBelowChild(chosen.number);
    if (entries.empty()) continue;
    menu->items.reserve(menu->items.size() + 1 + section(chosen.number).childNodes().size());
    if (hasHeader) menu->items.push_back(headerItem(chosen, bundle_));
    addItems(entries, {action, reference, ruleForAction(action)}, *menu);
  }
  MenuItem item(std::move(title));
  item.submenu = std::move(menu);
  return item;
}

void KPRefsManager::addMenuItemsWithAction(std::string_view action, const KPReference* reference,
                                           const KPTreeNode& node, Menu& menu) {
  const ReferenceOutline outline(node);
  addItems(outline.entries(), {action, reference, ruleForAction(action)}, menu);
}

const KPTreeNode& KPRefsManager::section(std::uint64_t number) const {
  static const std::shared_ptr<const KPTreeNode> kEmpty = KPTreeNode::create(nullptr);
  if (references_ == nullptr || number >= references_->childNodes().size()) return *kEmpty;
  return *references_->childNodes()[number];
}

}  // namespace kelpie
