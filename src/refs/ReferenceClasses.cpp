#include "refs/ReferenceClasses.h"

#include <memory>

#include "archive/ClassTable.h"
#include "refs/KPPullRequests.h"
#include "refs/KPReference.h"
#include "refs/KPRemote.h"
#include "refs/KPSubmodule.h"
#include "refs/KPTreeNode.h"

namespace kelpie {
namespace {

template <class Record>
std::shared_ptr<const Archivable> decodeRecord(const KeyedDecoder& coder) {
  return std::make_shared<const Record>(coder);
}

}  // namespace

void registerReferenceClasses() {
  ClassTable& classes = ClassTable::shared();
  classes.add("KPReference", decodeRecord<KPReference>);
  classes.add("KPRemote", decodeRecord<KPRemote>);
  classes.add("KPSubmodule", decodeRecord<KPSubmodule>);
  classes.add("KPPullRequests", decodeRecord<KPPullRequests>);
  classes.add("KPTreeNode", &KPTreeNode::decode);
}

}  // namespace kelpie
