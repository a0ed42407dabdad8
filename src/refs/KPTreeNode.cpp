#include "refs/KPTreeNode.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "archive/KeyedUnarchiver.h"
#include "foundation/KeyedCoder.h"
#include "foundation/Object.h"

namespace kelpie {

static_assert(KPTreeNode::kMaximumDepth == KeyedUnarchiver::kMaximumNesting,
              "a tree is as many archives deep as it has levels");

KPTreeNode::KPTreeNode(Private /*key*/, std::shared_ptr<const KPReference> representedObject)
    : representedObject_(std::move(representedObject)) {}

std::shared_ptr<const KPTreeNode> KPTreeNode::create(
    std::shared_ptr<const KPReference> representedObject, Children children) {
  const auto node = std::make_shared<KPTreeNode>(Private(), std::move(representedObject));
  node->children_.reserve(children.size());
  for (auto& child : children) {
    if (child == nullptr || child->parentNode() != nullptr) continue;
    if (child->height_ >= kMaximumDepth) continue;
    child->parent_ = node;
    node->height_ = std::max(node->height_, child->height_ + 1);
    node->children_.push_back(std::move(child));
  }
  return node;
}

std::shared_ptr<const KPTreeNode> KPTreeNode::decode(const KeyedDecoder& coder) {
  auto representedObject = coder.decodeObject("object").as<KPReference>();

  Children children;
  coder.decodeNestedRoots("children", [&](const Object& root) {
    if (auto child = root.as<KPTreeNode>()) children.push_back(std::move(child));
  });
  return create(std::move(representedObject), std::move(children));
}

std::vector<std::string_view> KPTreeNode::classNames() const {
  return {"KPTreeNode", "NSTreeNode", "NSObject"};
}

void KPTreeNode::encodeWithCoder(KeyedEncoder& coder) const {
  Objects blobs;
  blobs.reserve(children_.size());
  for (const auto& child : children_) {
    std::optional<Bytes> blob = coder.archivedData(Object(child));
    if (blob) blobs.emplace_back(std::move(*blob));
  }
  coder.encodeObject("object", Object(representedObject_));
  coder.encodeObject("children", Object(std::move(blobs)));
}

}  // namespace kelpie
