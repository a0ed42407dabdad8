#include "archive/OpenedArchive.h"

#include <utility>

namespace kelpie {

OpenedArchive::OpenedArchive(std::shared_ptr<const Bytes> archive, std::uint64_t maximumUnits)
    : bytes_(std::move(archive)),
      budget_(bytes_->size(), maximumUnits),
      reader_(*bytes_, *this, budget_),
      limits_(budget_) {}

Object OpenedArchive::objectOf(const ArchivedValue& value) {
  const ArchivedContent content = reader_.content(value);
  switch (content.kind) {
    case Object::Kind::Array:
    case Object::Kind::Set:
    case Object::Kind::Dictionary:
      return Object::ofPart({shared_from_this(), value.uid, content.kind, content.isMutable});
    case Object::Kind::Url:
    case Object::Kind::Error:
    case Object::Kind::Archivable:
    case Object::Kind::Opaque:
      return whole(value);
    default:
      return reader_.plainObject(content);
  }
}

Object OpenedArchive::whole(const ArchivedValue& value) {
  const MutexLock lock(mutex_);
  if (!decoder_) decoder_.emplace(*bytes_, limits_);
  Object result = decoder_->objectOf(value);
  if (!decoder_->isRefused()) return result;
  // The remembered objects may be incomplete.
  if (decoder_->isTooDeep()) decoder_.reset();
  return {};
}

}  // namespace kelpie
