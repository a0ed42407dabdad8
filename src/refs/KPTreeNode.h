#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/Archivable.h"
#include "refs/KPReference.h"

namespace kelpie {

class KeyedDecoder;

// A node of the tree in which the main application arranges the references of a repository.
// Archived as "KPTreeNode", each child as an archive of its own inside that of its parent.
//
// A tree is built from its leaves to its root and does not change any more, so it has no cycles. It
// is never deeper than kMaximumDepth levels: walking it may recurse. Nodes are shared, never
// copied. The tree belongs to the holder of its root; a node does not keep its parent alive. Any
// thread, once the tree is built.
class KPTreeNode : public Archivable {
  struct Private {};  // only members can name it, so nodes are made with create()

 public:
  using Children = std::vector<std::shared_ptr<const KPTreeNode>>;

  // Levels of a tree, the root's included: as deep as archives may be nested.
  static constexpr int kMaximumDepth = 64;

  // A node for `representedObject` (null: for none) above `children`, whose parent it becomes.
  // Leaves out children that are null, that have a parent already, or that would make the tree too
  // deep. Never null.
  static std::shared_ptr<const KPTreeNode> create(
      std::shared_ptr<const KPReference> representedObject, Children children = {});
  // From its archived keys. A child that does not decode into a tree node is skipped.
  static std::shared_ptr<const KPTreeNode> decode(const KeyedDecoder& coder);

  KPTreeNode(Private, std::shared_ptr<const KPReference> representedObject);
  KPTreeNode(const KPTreeNode&) = delete;
  KPTreeNode& operator=(const KPTreeNode&) = delete;
  ~KPTreeNode() override = default;

  // Always null: nodes are not copied.
  std::shared_ptr<KPTreeNode> copy() const { return nullptr; }

  // The reference, or the record that names a folder of references; null for none.
  const std::shared_ptr<const KPReference>& representedObject() const { return representedObject_; }
  // In order; none of them is null.
  const Children& childNodes() const { return children_; }
  bool isLeaf() const { return children_.empty(); }
  // Null for a root, and when the parent is gone.
  std::shared_ptr<const KPTreeNode> parentNode() const { return parent_.lock(); }

  std::vector<std::string_view> classNames() const override;
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  std::shared_ptr<const KPReference> representedObject_;
  Children children_;
  // Where the node stands rather than what it is: set when its parent is made. Weak, since the
  // parent holds the node.
  mutable std::weak_ptr<const KPTreeNode> parent_;
  int height_ = 1;  // levels of the tree from this node down, its own included
};

}  // namespace kelpie
