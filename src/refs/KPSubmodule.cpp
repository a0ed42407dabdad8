#include "refs/KPSubmodule.h"

#include "foundation/KeyedCoder.h"
#include "refs/RecordCoding.h"

namespace kelpie {

KPSubmodule::KPSubmodule(std::optional<std::string> name)
    : KPReference(KPReferenceType::kSubmodule, std::move(name)) {}

KPSubmodule::KPSubmodule(std::int64_t /*type*/, std::optional<std::string> name)
    : KPSubmodule(std::move(name)) {}

KPSubmodule::KPSubmodule(const KeyedDecoder& coder)
    : KPReference(coder),
      url_(decodeString(coder, "url")),
      path_(coder.decodeObject("path").pathBytes()),
      recurse_(coder.decodeInteger("recurse")),
      ignore_(coder.decodeInteger("ignore")),
      update_(coder.decodeInteger("update")) {}

std::vector<std::string_view> KPSubmodule::classNames() const {
  return {"KPSubmodule", "KPReference", "NSObject"};
}

void KPSubmodule::encodeWithCoder(KeyedEncoder& coder) const {
  KPReference::encodeWithCoder(coder);
  encodeOptional(coder, "url", url_);
  coder.encodeObject("path", path_ ? Object::path(*path_) : Object());
  coder.encodeInteger("recurse", recurse_);
  coder.encodeInteger("ignore", ignore_);
  coder.encodeInteger("update", update_);
}

}  // namespace kelpie
