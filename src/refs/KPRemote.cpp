#include "refs/KPRemote.h"

#include "foundation/KeyedCoder.h"
#include "refs/RecordCoding.h"

namespace kelpie {
namespace {

Object decodeArray(const KeyedDecoder& coder, std::string_view key) {
  Object value = coder.decodeObject(key);
  return value.isArray() ? value : Object();
}

// The elements as an array of the immutable class, whatever class they came in.
Object copyOfArray(const Object& value) {
  return value.isArray() ? Object(value.elements()) : Object();
}

}  // namespace

KPRemote::KPRemote(std::optional<std::string> name)
    : KPReference(KPReferenceType::kRemote, std::move(name)) {}

KPRemote::KPRemote(std::int64_t /*type*/, std::optional<std::string> name)
    : KPRemote(std::move(name)) {}

KPRemote::KPRemote(const KeyedDecoder& coder)
    : KPReference(coder),
      url_(decodeString(coder, "url")),
      pushUrl_(decodeString(coder, "pushUrl")),
      fetchRefspecs_(decodeArray(coder, "fetchRefspecs")),
      pushRefspecs_(decodeArray(coder, "pushRefspecs")),
      autotag_(coder.decodeInteger("autotag")),
      skipFetchAll_(coder.decodeBool("skipFetchAll")) {}

void KPRemote::setFetchRefspecs(const Object& refspecs) { fetchRefspecs_ = copyOfArray(refspecs); }

void KPRemote::setPushRefspecs(const Object& refspecs) { pushRefspecs_ = copyOfArray(refspecs); }

std::vector<std::string_view> KPRemote::classNames() const {
  return {"KPRemote", "KPReference", "NSObject"};
}

void KPRemote::encodeWithCoder(KeyedEncoder& coder) const {
  KPReference::encodeWithCoder(coder);
  encodeOptional(coder, "url", url_);
  encodeOptional(coder, "pushUrl", pushUrl_);
  coder.encodeObject("fetchRefspecs", fetchRefspecs_);
  coder.encodeObject("pushRefspecs", pushRefspecs_);
  coder.encodeInteger("autotag", autotag_);
  coder.encodeBool("skipFetchAll", skipFetchAll_);
}

}  // namespace kelpie
