#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "refs/KPReference.h"
#include "refs/KPTreeNode.h"

namespace kelpie {

// What menus read of one node of a references tree.
struct ReferenceEntry {
  std::string_view name;                // the record's, "" when it has none
  std::string_view title;               // the last component of that
  std::string_view upstreamName;        // the record's, "" when it has none
  const KPReference* record = nullptr;  // in an outline not null: empty for a node without
  std::int64_t tag = 0;                 // the record's, like all that follows but the counts
  std::uint32_t children = 0;           // nodes right below; 0 for a leaf
  std::uint32_t descendants = 0;   // entries that follow and stand for nodes below, on all levels
  std::uint32_t fullNameSize = 0;  // 0 when it has none
  bool hasUpstream = false;
  bool hasOid = false;
  bool isHead = false;
  bool isDetached = false;
};

// The nodes of one subtree: each is followed by those below it, then by its next sibling.
using ReferenceEntries = std::span<const ReferenceEntry>;

// A references tree laid out in the order in which menus read it. The nodes and records of a big
// repository lie scattered over more memory than caches hold, and a menu that went from one to the
// next would wait for memory most of the time.
//
// Made once for a tree, which does not change any more and must outlive the outline. Any thread.
class ReferenceOutline {
 public:
  ReferenceOutline() = default;
  // An outline of the nodes below `root`, without `root` itself.
  explicit ReferenceOutline(const KPTreeNode& root);

  ReferenceOutline(const ReferenceOutline&) = delete;
  ReferenceOutline& operator=(const ReferenceOutline&) = delete;
  // A moved vector keeps its elements where they are, and so the text.
  ReferenceOutline(ReferenceOutline&&) = default;
  ReferenceOutline& operator=(ReferenceOutline&&) = default;
  ~ReferenceOutline() = default;

  // Borrowed from this outline, like what is in them.
  ReferenceEntries entries() const { return entries_; }
  // The entries below the root's child at `position`; empty without such a child.
  ReferenceEntries entriesBelowChild(std::uint64_t position) const;

 private:
  struct Sizes {
    std::size_t entries = 0;
    std::size_t text = 0;
  };

  // The room that the node and those below it will take.
  static void measure(const KPTreeNode& node, Sizes& sizes);
  void add(const KPTreeNode& node);

  std::vector<ReferenceEntry> entries_;
  std::vector<char> text_;  // of each entry in turn: name, upstream name
};

}  // namespace kelpie
