#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/Mutex.h"
#include "foundation/Object.h"
#include "refs/KPReference.h"
#include "refs/KPTreeNode.h"
#include "refs/ReferenceOutline.h"

namespace kelpie {

class Bundle;
class Log;

// What the main application last said about the references of one repository, and the submenus
// that are built from it. Owner: the repository; `bundle` and `log` outlive it. Any thread: menus
// are asked for on the main thread, and a long message is taken in on the repository's update
// queue.
//
// The children of the references tree's root are sections, known by their position: 1 local
// branches, 2 tags, 3 remotes (each with its branches), 4 submodules, 5 pull requests. A section
// that is not there is empty. In a section, a node with children is a folder, named by the last
// component of its record's name; a node without is a reference. Actions are names of selectors.
//
// Menus are made anew for each question and know nothing of the records: an item names its object
// by its tag.
class KPRefsManager {
 public:
  KPRefsManager(const Bundle& bundle, Log& log);

  // A message that says more than its bytes can hold changes nothing and is logged.

  // The root of the references tree; null at first, and for anything but a tree node.
  std::shared_ptr<const KPTreeNode> references() const;
  void setReferences(const Object& references);

  // A title per stash; absent at first, and for anything but an array. An element other than a
  // string becomes an empty title, so that the others keep their positions.
  std::optional<std::vector<std::string>> stashes() const;
  void setStashes(const Object& stashes);

  // A dictionary with arrays of branch names; nil at first, and for anything but a dictionary.
  Object gitflowInfo() const;
  void setGitflowInfo(const Object& gitflowInfo);

  // The branch that is checked out; null when it is not known.
  std::shared_ptr<const KPReference> headBranch() const;
  void setHeadBranch(std::shared_ptr<const KPReference> headBranch);

  bool isBare() const { return bare_; }
  void setBare(bool bare) { bare_ = bare; }
  bool hasGitlfs() const { return hasGitlfs_; }
  void setHasGitlfs(bool hasGitlfs) { hasGitlfs_ = hasGitlfs; }
  bool hasHeadCommit() const { return hasHeadCommit_; }
  void setHasHeadCommit(bool hasHeadCommit) { hasHeadCommit_ = hasHeadCommit; }

  // Whether there is at least one.
  bool hasStashes() const;
  bool hasRemotes() const;
  bool hasSubmodules() const;
  bool hasPullRequests() const;

  // Menus of whole names, each item with `action` and its position as the tag. Empty, not null,
  // when there is nothing to show.
  std::shared_ptr<const Menu> stashesMenuWithAction(std::string_view action) const;
  std::shared_ptr<const Menu> remotesMenuWithAction(std::string_view action) const;
  std::shared_ptr<const Menu> submodulesMenuWithAction(std::string_view action) const;
  std::shared_ptr<const Menu> pullRequestsMenuWithAction(std::string_view action) const;

  // Menus of git-flow branches, with the action that finishes one and the position as the tag. Null
  // when there is nothing to show.
  std::shared_ptr<const Menu> gitflowFeaturesMenu() const;
  std::shared_ptr<const Menu> gitflowReleasesMenu() const;
  std::shared_ptr<const Menu> gitflowHotfixesMenu() const;

  // The reference picker: an item with `title` whose submenu, never null, holds the references of
  // the sections `submenuTypes`, one after the other, each section that is not empty under a header
  // if `hasHeader`. `reference`, which may be null, is what the references are compared with.
  //
  // From section 3 on, "deleteBranches:" and "renameBranch:" become the actions for remote
  // branches, for all later sections of the list as well. A number that names no section to pick
  // from is logged and shows section 0.
  MenuItem menuItemWithTitle(std::string title, const KPReference* reference,
                             std::string_view action,
                             const std::vector<std::uint64_t>& submenuTypes, bool hasHeader) const;

  // -- Of the system's operations, but called by nothing in this project --------------------------

  // Adds to `menu` an item for each child of `node`, folders with a submenu of their own. By the
  // name of the action an item is marked (state on), disabled (then it has no action) or both; see
  // the table in ReferenceItemRules.
  static void addMenuItemsWithAction(std::string_view action, const KPReference* reference,
                                     const KPTreeNode& node, Menu& menu);

 private:
  using Titles = std::vector<std::string>;

  // None of these changes once made, so they are made and read without the lock.
  struct References {
    std::shared_ptr<const KPTreeNode> root;  // may be null
    ReferenceOutline outline;                // of root

    // The section's node; null when there is no such section.
    const KPTreeNode* section(std::uint64_t number) const;
    bool hasChildren(std::uint64_t number) const;
  };
  struct Gitflow {
    Object info;
    Titles features;
    Titles releases;
    Titles hotfixes;
  };
  struct Values {
    std::shared_ptr<const References> references;  // null at first, like the others
    std::shared_ptr<const Titles> stashes;
    std::shared_ptr<const Gitflow> gitflow;
    std::shared_ptr<const KPReference> headBranch;
  };

  Values values() const;
  // Replaces the former value by `value`; the former one is destroyed after the lock.
  template <class Value>
  void set(Value Values::*place, Value value);
  bool isRefused(const Object& value) const;
  std::shared_ptr<const Menu> namesMenu(std::uint64_t section, std::string_view action) const;

  const Bundle& bundle_;
  Log& log_;
  mutable Mutex mutex_;
  Values values_ KELPIE_GUARDED_BY(mutex_);
  std::atomic<bool> bare_ = false;
  std::atomic<bool> hasGitlfs_ = false;
  std::atomic<bool> hasHeadCommit_ = false;
};

}  // namespace kelpie
