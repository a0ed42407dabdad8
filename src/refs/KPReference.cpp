#include "refs/KPReference.h"

#include "foundation/KeyedCoder.h"
#include "refs/RecordCoding.h"

namespace kelpie {

KPReference::KPReference(std::int64_t type, std::optional<std::string> name)
    : name_(std::move(name)) {
  setType(type);
}

KPReference::KPReference(const KeyedDecoder& coder)
    : name_(decodeString(coder, "name")),
      oid_(coder.decodeObject("oid").data()),
      fullName_(decodeString(coder, "fullName")),
      upstreamName_(decodeString(coder, "upstreamName")) {
  setType(coder.decodeInteger("type"));
  setHead(coder.decodeBool("head"));
  setDetached(coder.decodeBool("detached"));
  setTag(coder.decodeInteger("tag"));
}

std::vector<std::string_view> KPReference::classNames() const {
  return {"KPReference", "NSObject"};
}

void KPReference::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeInteger("type", type_);
  encodeOptional(coder, "name", name_);
  encodeOptional(coder, "fullName", fullName_);
  encodeOptional(coder, "oid", oid_);
  coder.encodeBool("head", head_);
  coder.encodeBool("detached", detached_);
  encodeOptional(coder, "upstreamName", upstreamName_);
  coder.encodeInteger("tag", tag_);
}

}  // namespace kelpie
