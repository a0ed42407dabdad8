#include "foundation/ObjectView.h"

#include <algorithm>

#include "archive/ArchiveReader.h"
#include "archive/OpenedArchive.h"
#include "foundation/Dictionary.h"

namespace kelpie {

namespace {

using Kind = Object::Kind;

}  // namespace

ObjectView::ObjectView(const Object& object) {
  if (const Object::Part* part = object.part()) {
    reader_ = &part->archive->reader();
    value_ = reader_->object(part->uid);
  } else {
    object_ = &object;
  }
}

Object::Kind ObjectView::kind() const {
  if (object_ != nullptr) return object_->kind();
  if (reader_ == nullptr) return Kind::Absent;
  const Kind kind = reader_->content(value_).kind;
  // Whether these decode shows only when they are made.
  if (kind == Kind::Url) return reader_->url(value_) ? kind : Kind::Absent;
  if (kind == Kind::Archivable) return reader_->maker().objectOf(value_).kind();
  return kind;
}

bool ObjectView::boolValue() const { return number().boolValue(); }

std::int64_t ObjectView::integerValue() const { return number().integerValue(); }

std::uint64_t ObjectView::unsignedIntegerValue() const { return number().unsignedIntegerValue(); }

std::uint16_t ObjectView::unsignedShortValue() const { return number().unsignedShortValue(); }

Object ObjectView::number() const {
  if (object_ != nullptr) return object_->isNumber() ? *object_ : Object();
  return reader_ != nullptr ? reader_->number(reader_->content(value_)) : Object();
}

std::string ObjectView::stringValue() const {
  if (object_ != nullptr) return object_->stringValue();
  return reader_ != nullptr ? reader_->string(reader_->content(value_)) : std::string();
}

bool ObjectView::isEqualToString(std::string_view text) const {
  if (object_ != nullptr) {
    const auto* own = object_->shared<std::string>();
    return own != nullptr && *own == text;
  }
  return reader_ != nullptr && reader_->isEqualToString(reader_->content(value_), text);
}

std::optional<std::string> ObjectView::pathBytes() const {
  if (object_ != nullptr) return object_->pathBytes();
  if (reader_ == nullptr) return std::nullopt;
  const ArchivedContent content = reader_->content(value_);
  if (content.kind == Kind::String) return reader_->string(content);
  if (content.kind == Kind::Data) return std::string(textOf(reader_->data(content)));
  return std::nullopt;
}

std::optional<ByteView> ObjectView::data() const {
  if (object_ != nullptr) {
    const auto* own = object_->shared<Bytes>();
    return own != nullptr ? std::optional<ByteView>(*own) : std::nullopt;
  }
  if (reader_ == nullptr) return std::nullopt;
  const ArchivedContent content = reader_->content(value_);
  return content.kind == Kind::Data ? std::optional(reader_->data(content)) : std::nullopt;
}

std::optional<URL> ObjectView::url() const {
  if (object_ != nullptr) return object_->url();
  return reader_ != nullptr ? reader_->url(value_) : std::nullopt;
}

std::size_t ObjectView::size() const {
  if (object_ != nullptr) {
    if (const Objects* elements = object_->builtElements()) return elements->size();
    const auto* entries = object_->shared<Dictionary>();
    return entries != nullptr ? entries->size() : 0;
  }
  return reader_ != nullptr ? reader_->size(reader_->content(value_)) : 0;
}

ObjectView ObjectView::at(std::size_t index) const {
  if (object_ != nullptr) {
    const Objects* elements = object_->builtElements();
    return elements != nullptr && index < elements->size() ? ObjectView((*elements)[index])
                                                           : ObjectView();
  }
  if (reader_ == nullptr) return {};
  const ArchivedContent content = reader_->content(value_);
  const bool isElement =
      (content.kind == Kind::Array || content.kind == Kind::Set) && index < content.item.count;
  return isElement ? reader_->view(reader_->element(value_, content.item, index)) : ObjectView();
}

std::optional<ObjectView::Elements> ObjectView::array() const {
  if (object_ != nullptr) {
    const Objects* elements = object_->builtElements();
    return elements != nullptr && object_->isArray() ? std::optional(Elements(elements))
                                                     : std::nullopt;
  }
  if (reader_ == nullptr) return std::nullopt;
  const ArchivedContent content = reader_->content(value_);
  if (content.kind != Kind::Array) return std::nullopt;
  return Elements(*reader_, value_, content.item.offset, content.item.count);
}

ObjectView ObjectView::Elements::at(std::size_t index) const {
  if (index >= size()) return {};
  if (built_ != nullptr) return {(*built_)[index]};
  return reader_->view(reader_->element(parent_, reader_->list().itemAt(offset_), index));
}

ObjectView ObjectView::operator[](std::string_view key) const {
  if (object_ != nullptr) {
    const auto* entries = object_->shared<Dictionary>();
    const Object* value = entries != nullptr ? entries->find(key) : nullptr;
    return value != nullptr ? ObjectView(*value) : ObjectView();
  }
  return entryWhere([&](const ObjectView& candidate) { return candidate.isEqualToString(key); });
}

ObjectView ObjectView::valueForKey(const Object& key) const {
  if (object_ != nullptr) {
    const auto* entries = object_->shared<Dictionary>();
    const Object* value = entries != nullptr ? entries->find(key) : nullptr;
    return value != nullptr ? ObjectView(*value) : ObjectView();
  }
  if (const auto* text = key.shared<std::string>()) return (*this)[*text];
  if (const auto* data = key.shared<Bytes>()) {
    return entryWhere([&](const ObjectView& candidate) {
      const auto own = candidate.data();
      return own && std::equal(own->begin(), own->end(), data->begin(), data->end());
    });
  }
  return entryWhere([&](const ObjectView& candidate) {
    const Object object = candidate.toObject();
    return object.hash() == key.hash() && object.isEqual(key);
  });
}

template <class IsKey>
ObjectView ObjectView::entryWhere(const IsKey& isKey) const {
  if (reader_ == nullptr) return {};
  const ArchivedContent content = reader_->content(value_);
  if (content.kind != Kind::Dictionary) return {};
  // The last of two equal keys wins, as it does when the dictionary is made as a whole.
  for (std::size_t index = content.item.count; index-- > 0 && !isRefused();) {
    if (!isKey(reader_->view(reader_->element(value_, content.item, index)))) continue;
    const ObjectView value = reader_->view(reader_->element(value_, content.values, index));
    if (!value.isNil()) return value;
  }
  return {};
}

void ObjectView::forEachElement(FunctionRef<bool(ObjectView element)> visit) const {
  if (object_ != nullptr) {
    const Objects* elements = object_->builtElements();
    if (elements == nullptr) return;
    for (const Object& element : *elements)
      if (!visit(element)) return;
    return;
  }
  if (reader_ == nullptr) return;
  const ArchivedContent content = reader_->content(value_);
  if (content.kind != Kind::Array && content.kind != Kind::Set) return;
  for (std::size_t index = 0; index < content.item.count; ++index) {
    if (!reader_->budget().charge(ReadingBudget::kElement)) return;
    const ObjectView element = reader_->view(reader_->element(value_, content.item, index));
    // A place in an array may be empty; in a set there are no places.
    if (element.reader_ == nullptr && content.kind == Kind::Set) continue;
    if (!visit(element)) return;
  }
}

void ObjectView::forEachEntry(FunctionRef<bool(ObjectView key, ObjectView value)> visit) const {
  if (object_ != nullptr) {
    const auto* entries = object_->shared<Dictionary>();
    if (entries == nullptr) return;
    for (const auto& [key, value] : entries->entries())
      if (!visit(key, value)) return;
    return;
  }
  if (reader_ == nullptr) return;
  const ArchivedContent content = reader_->content(value_);
  if (content.kind != Kind::Dictionary) return;
  for (std::size_t index = 0; index < content.item.count; ++index) {
    if (!reader_->budget().charge(ReadingBudget::kElement)) return;
    const ObjectView key = reader_->view(reader_->element(value_, content.item, index));
    const ObjectView value = reader_->view(reader_->element(value_, content.values, index));
    if (key.reader_ == nullptr || value.reader_ == nullptr) continue;
    if (!visit(key, value)) return;
  }
}

std::size_t ObjectView::plausibleSize() const {
  if (reader_ == nullptr) return size();
  // An element has a reference and an object, each with its place in the list's table.
  constexpr std::size_t kLeastBytes = 16;
  return std::min(size(), reader_->list().byteCount() / kLeastBytes);
}

bool ObjectView::charge(std::uint64_t units) const {
  return reader_ == nullptr || reader_->budget().charge(units);
}

bool ObjectView::isRefused() const { return reader_ != nullptr && reader_->budget().isUsedUp(); }

Object ObjectView::toObject() const {
  if (object_ != nullptr) return *object_;
  return reader_ != nullptr ? reader_->maker().objectOf(value_) : Object();
}

}  // namespace kelpie
