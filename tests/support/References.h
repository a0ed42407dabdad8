#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Bytes.h"
#include "refs/KPReference.h"
#include "refs/KPTreeNode.h"

namespace kelpie {

// The fields of a reference that tests set; all others are as in a new record.
struct ReferenceFields {
  std::optional<std::string> name = {};
  std::optional<std::string> fullName = {};
  std::optional<std::string> upstreamName = {};
  std::optional<Bytes> oid = {};
  bool head = false;
  bool detached = false;
  std::int64_t tag = 0;
};

std::shared_ptr<const KPReference> makeReference(const ReferenceFields& fields);

// A leaf for such a reference.
std::shared_ptr<const KPTreeNode> makeLeaf(const ReferenceFields& fields);
// A folder or a remote: a node whose record has nothing but a name.
std::shared_ptr<const KPTreeNode> makeFolder(std::string name, KPTreeNode::Children children);
// A references tree: a root above one node for each of `sections`.
std::shared_ptr<const KPTreeNode> makeReferencesTree(std::vector<KPTreeNode::Children> sections);

}  // namespace kelpie
