#include "support/References.h"

#include <utility>

namespace kelpie {

std::shared_ptr<const KPReference> makeReference(const ReferenceFields& fields) {
  auto record = std::make_shared<KPReference>(KPReferenceType::kPlain, fields.name);
  record->setFullName(fields.fullName);
  record->setUpstreamName(fields.upstreamName);
  record->setOid(fields.oid);
  record->setHead(fields.head);
  record->setDetached(fields.detached);
  record->setTag(fields.tag);
  return record;
}

std::shared_ptr<const KPTreeNode> makeLeaf(const ReferenceFields& fields) {
  return KPTreeNode::create(makeReference(fields));
}

std::shared_ptr<const KPTreeNode> makeFolder(std::string name, KPTreeNode::Children children) {
  return KPTreeNode::create(makeReference({.name = std::move(name)}), std::move(children));
}

std::shared_ptr<const KPTreeNode> makeReferencesTree(std::vector<KPTreeNode::Children> sections) {
  KPTreeNode::Children nodes;
  nodes.reserve(sections.size());
  for (auto& section : sections) nodes.push_back(KPTreeNode::create(nullptr, std::move(section)));
  return KPTreeNode::create(nullptr, std::move(nodes));
}

}  // namespace kelpie
