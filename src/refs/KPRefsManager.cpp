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
constexpr std::uint64_t kRemotesNumber = 3;
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
    {kRemotesNumber, "Remote Branches", branchImage},
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

// The strings of an array, "" for an element of another class; empty for anything but an array. One
// text may stand in a list any number of times, and each is kept, and shown by an item of its own.
std::vector<std::string> titlesOf(const ObjectView& array) {
  std::vector<std::string> titles;
  if (array.kind() != Object::Kind::Array) return titles;
  titles.reserve(array.plausibleSize());
  array.forEachElement([&titles](const ObjectView& element) {
    std::string title = element.stringValue();
    if (element.charge(2 * sizeof(MenuItem) + title.size())) titles.push_back(std::move(title));
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

std::shared_ptr<const Menu> gitflowMenu(const std::vector<std::string>& names,
                                        std::string_view action) {
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

const KPTreeNode* KPRefsManager::References::section(std::uint64_t number) const {
  if (root == nullptr || number >= root->childNodes().size()) return nullptr;
  return root->childNodes()[number].get();
}

bool KPRefsManager::References::hasChildren(std::uint64_t number) const {
  const KPTreeNode* node = section(number);
  return node != nullptr && !node->isLeaf();
}

// -- Values ---------------------------------------------------------------------------------------

KPRefsManager::Values KPRefsManager::values() const {
  const MutexLock lock(mutex_);
  return values_;
}

template <class Value>
void KPRefsManager::set(Value Values::*place, Value value) {
  const MutexLock lock(mutex_);
  std::swap(values_.*place, value);
}

bool KPRefsManager::isRefused(const Object& value) const {
  if (!value.isRefused()) return false;
  log_.write("References that say more than their message's bytes can hold are dropped.");
  return true;
}

std::shared_ptr<const KPTreeNode> KPRefsManager::references() const {
  const auto references = values().references;
  return references != nullptr ? references->root : nullptr;
}

void KPRefsManager::setReferences(const Object& references) {
  auto root = references.as<KPTreeNode>();
  auto outline = root != nullptr ? ReferenceOutline(*root) : ReferenceOutline();
  set(&Values::references,
      std::make_shared<const References>(References{std::move(root), std::move(outline)}));
}

std::optional<std::vector<std::string>> KPRefsManager::stashes() const {
  const auto stashes = values().stashes;
  return stashes != nullptr ? std::optional(*stashes) : std::nullopt;
}

void KPRefsManager::setStashes(const Object& stashes) {
  auto titles = std::make_shared<const Titles>(titlesOf(stashes));
  if (isRefused(stashes)) return;
  set(&Values::stashes, stashes.isArray() ? std::move(titles) : nullptr);
}

Object KPRefsManager::gitflowInfo() const {
  const auto gitflow = values().gitflow;
  return gitflow != nullptr ? gitflow->info : Object();
}

void KPRefsManager::setGitflowInfo(const Object& gitflowInfo) {
  std::shared_ptr<const Gitflow> gitflow;
  if (gitflowInfo.isDictionary()) {
    const ObjectView info(gitflowInfo);
    gitflow = std::make_shared<const Gitflow>(
        Gitflow{gitflowInfo.whole(), titlesOf(info[kGitflowFeaturesKey]),
                titlesOf(info[kGitflowReleasesKey]), titlesOf(info[kGitflowHotfixesKey])});
  }
  if (!isRefused(gitflowInfo)) set(&Values::gitflow, std::move(gitflow));
}

std::shared_ptr<const KPReference> KPRefsManager::headBranch() const { return values().headBranch; }

void KPRefsManager::setHeadBranch(std::shared_ptr<const KPReference> headBranch) {
  set(&Values::headBranch, std::move(headBranch));
}

bool KPRefsManager::hasStashes() const {
  const auto stashes = values().stashes;
  return stashes != nullptr && !stashes->empty();
}

bool KPRefsManager::hasRemotes() const {
  const auto references = values().references;
  return references != nullptr && references->hasChildren(kRemotesNumber);
}

bool KPRefsManager::hasSubmodules() const {
  const auto references = values().references;
  return references != nullptr && references->hasChildren(kSubmodules);
}

bool KPRefsManager::hasPullRequests() const {
  const auto references = values().references;
  return references != nullptr && references->hasChildren(kPullRequests);
}

// -- Menus ----------------------------------------------------------------------------------------

std::shared_ptr<const Menu> KPRefsManager::stashesMenuWithAction(std::string_view action) const {
  const auto stashes = values().stashes;
  return stashes != nullptr ? menuOfTitles(*stashes, action) : std::make_shared<const Menu>();
}

std::shared_ptr<const Menu> KPRefsManager::namesMenu(std::uint64_t section,
                                                     std::string_view action) const {
  const auto references = values().references;
  const KPTreeNode* node = references != nullptr ? references->section(section) : nullptr;
  if (node == nullptr) return std::make_shared<const Menu>();
  return flatMenu(node->childNodes(), action, [](const auto& child) { return nameOf(*child); });
}

std::shared_ptr<const Menu> KPRefsManager::remotesMenuWithAction(std::string_view action) const {
  return namesMenu(kRemotesNumber, action);
}

std::shared_ptr<const Menu> KPRefsManager::submodulesMenuWithAction(std::string_view action) const {
  return namesMenu(kSubmodules, action);
}

std::shared_ptr<const Menu> KPRefsManager::pullRequestsMenuWithAction(
    std::string_view action) const {
  return namesMenu(kPullRequests, action);
}

std::shared_ptr<const Menu> KPRefsManager::gitflowFeaturesMenu() const {
  const auto gitflow = values().gitflow;
  return gitflow != nullptr ? gitflowMenu(gitflow->features, "finishGitflowFeature:") : nullptr;
}

std::shared_ptr<const Menu> KPRefsManager::gitflowReleasesMenu() const {
  const auto gitflow = values().gitflow;
  return gitflow != nullptr ? gitflowMenu(gitflow->releases, "finishGitflowRelease:") : nullptr;
}

std::shared_ptr<const Menu> KPRefsManager::gitflowHotfixesMenu() const {
  const auto gitflow = values().gitflow;
  return gitflow != nullptr ? gitflowMenu(gitflow->hotfixes, "finishGitflowHotfix:") : nullptr;
}

MenuItem KPRefsManager::menuItemWithTitle(std::string title, const KPReference* reference,
                                          std::string_view action,
                                          const std::vector<std::uint64_t>& submenuTypes,
                                          bool hasHeader) const {
  auto menu = std::make_shared<Menu>();
  const auto references = values().references;
  for (const std::uint64_t number : submenuTypes) {
    const PickerSection chosen = pickerSection(number, log_);
    // Stays changed for the sections that follow, also when this one is empty.
    if (number == kRemotesNumber) action = actionForRemotes(action);
    if (references == nullptr) continue;
    const ReferenceEntries entries = references->outline.entriesBelowChild(chosen.number);
    if (entries.empty()) continue;
    menu->items.reserve(menu->items.size() + 1 +
                        references->section(chosen.number)->childNodes().size());
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

}  // namespace kelpie
