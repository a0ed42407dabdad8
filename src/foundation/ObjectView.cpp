#include "foundation/ObjectView.h"

#include "foundation/Dictionary.h"

namespace kelpie {

namespace {

// What a view of nothing looks at.
const Object& nil() {
  static const Object object;
  return object;
}

}  // namespace

ObjectView::ObjectView(const Object& object) : object_(&object) {}

Object::Kind ObjectView::kind() const {
  return object_ != nullptr ? object_->kind() : Object::Kind::Nil;
}

bool ObjectView::boolValue() const { return object_ != nullptr && object_->boolValue(); }

std::int64_t ObjectView::integerValue() const {
  return object_ != nullptr ? object_->integerValue() : 0;
}

std::uint64_t ObjectView::unsignedIntegerValue() const {
  return object_ != nullptr ? object_->unsignedIntegerValue() : 0;
}

std::uint16_t ObjectView::unsignedShortValue() const {
  return static_cast<std::uint16_t>(unsignedIntegerValue());
}

std::string ObjectView::stringValue() const {
  return object_ != nullptr ? object_->stringValue() : std::string();
}

bool ObjectView::isEqualToString(std::string_view text) const {
  const auto* own = object_ != nullptr ? object_->shared<std::string>() : nullptr;
  return own != nullptr && *own == text;
}

std::optional<std::string> ObjectView::pathBytes() const {
  return object_ != nullptr ? object_->pathBytes() : std::nullopt;
}

std::optional<ByteView> ObjectView::data() const {
  const auto* own = object_ != nullptr ? object_->shared<Bytes>() : nullptr;
  return own != nullptr ? std::optional<ByteView>(*own) : std::nullopt;
}

std::size_t ObjectView::size() const {
  if (object_ == nullptr) return 0;
  if (const Objects* elements = object_->builtElements()) return elements->size();
  const auto* entries = object_->shared<Dictionary>();
  return entries != nullptr ? entries->size() : 0;
}

ObjectView ObjectView::at(std::size_t index) const {
  const Objects* elements = object_ != nullptr ? object_->builtElements() : nullptr;
  return elements != nullptr && index < elements->size() ? ObjectView((*elements)[index])
                                                         : ObjectView();
}

ObjectView ObjectView::operator[](std::string_view key) const {
  const auto* entries = object_ != nullptr ? object_->shared<Dictionary>() : nullptr;
  const Object* value = entries != nullptr ? entries->find(key) : nullptr;
  return value != nullptr ? ObjectView(*value) : ObjectView();
}

ObjectView ObjectView::operator[](const Object& key) const {
  const auto* entries = object_ != nullptr ? object_->shared<Dictionary>() : nullptr;
  const Object* value = entries != nullptr ? entries->find(key) : nullptr;
  return value != nullptr ? ObjectView(*value) : ObjectView();
}

void ObjectView::forEachElement(FunctionRef<bool(ObjectView element)> visit) const {
  const Objects* elements = object_ != nullptr ? object_->builtElements() : nullptr;
  if (elements == nullptr) return;
  for (const Object& element : *elements) {
    if (!visit(element)) return;
  }
}

void ObjectView::forEachEntry(FunctionRef<bool(ObjectView key, ObjectView value)> visit) const {
  const auto* entries = object_ != nullptr ? object_->shared<Dictionary>() : nullptr;
  if (entries == nullptr) return;
  for (const auto& [key, value] : entries->entries()) {
    if (!visit(key, value)) return;
  }
}

Object ObjectView::toObject() const { return object_ != nullptr ? *object_ : nil(); }

}  // namespace kelpie
