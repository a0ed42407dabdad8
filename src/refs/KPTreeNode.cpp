#include "refs/KPTreeNode.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "archive/KeyedUnarchiver.h"
#include "foundation/KeyedCoder.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"

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

  // Views, so that a blob is read where it stands rather than copied first.
  const ObjectView blobs = coder.decodeView("children");
  Children children;
  if (blobs.kind() == Object::Kind::Array) {
    children.reserve(blobs.size());
    blobs.forEachElement([&](ObjectView blob) {
      const std::optional<ByteView> archive = blob.data();
      // What decodes into no node is null here, and create() leaves it out.
      if (archive) children.push_back(coder.unarchiveObject(*archive).as<KPTreeNode>());
      return true;
    });
  }
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
