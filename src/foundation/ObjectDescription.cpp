#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"
#include "foundation/OpaqueObject.h"

namespace kelpie {

namespace {

constexpr std::size_t kMaximumLength = 300;

// Writes until the line is full. Every container writes at least its brackets, so a full line also
// bounds the depth and the number of containers that are looked at.
class Describer {
 public:
  std::string take() {
    if (text_.size() > kMaximumLength) {
      text_.resize(kMaximumLength);
      // Not a part of a character.
      while (!text_.empty() && (static_cast<unsigned char>(text_.back()) & 0xC0U) == 0x80U)
        text_.pop_back();
      if (!text_.empty() && static_cast<unsigned char>(text_.back()) >= 0xC0U) text_.pop_back();
      text_ += "...";
    }
    return std::move(text_);
  }

  void describe(const ObjectView& view) {
    if (isFull()) return;
    switch (view.kind()) {
      case Object::Kind::Array:
        return describeElements(view, '[', ']');
      case Object::Kind::Set:
        return describeElements(view, '{', '}');
      case Object::Kind::Dictionary:
        return describeEntries(view);
      default:
        return describeLeaf(view.toObject());
    }
  }

 private:
  bool isFull() const { return text_.size() > kMaximumLength; }

  void describeElements(const ObjectView& view, char open, char close) {
    text_ += open;
    bool isFirst = true;
    view.forEachElement([&](ObjectView element) {
      if (!isFirst) text_ += ", ";
      isFirst = false;
      describe(element);
      return !isFull();
    });
    text_ += close;
  }

  void describeEntries(const ObjectView& view) {
    text_ += '{';
    bool isFirst = true;
    view.forEachEntry([&](ObjectView key, ObjectView value) {
      if (!isFirst) text_ += ", ";
      isFirst = false;
      describe(key);
      text_ += ": ";
      describe(value);
      return !isFull();
    });
    text_ += '}';
  }

  void describeLeaf(const Object& object) {
    switch (object.kind()) {
      case Object::Kind::Boolean:
        text_ += object.boolValue() ? "YES" : "NO";
        return;
      case Object::Kind::Integer:
        text_ += object.isNegative() ? std::to_string(object.integerValue())
                                     : std::to_string(object.unsignedIntegerValue());
        return;
      case Object::Kind::Real:
        text_ += std::to_string(object.doubleValue());
        return;
      case Object::Kind::Date:
        text_ += "date " + std::to_string(object.dateValue());
        return;
      case Object::Kind::String:
        return quote(object.stringValue());
      case Object::Kind::Data:
        return describeData(*object.data());
      case Object::Kind::Url:
        return describeUrl(*object.url());
      case Object::Kind::Error:
        text_ += "error " + object.error()->domain + " " + std::to_string(object.error()->code);
        describe(object.error()->userInfo);
        return;
      case Object::Kind::Archivable:
        text_ += '<';
        text_ += object.archivable()->classNames().front();
        text_ += '>';
        return;
      case Object::Kind::Opaque:
        text_ += '<';
        if (!object.opaque()->classNames.empty()) text_ += object.opaque()->classNames.front();
        text_ += '>';
        return;
      default:
        text_ += "nil";
    }
  }

  void describeUrl(const URL& url) {
    text_ += '<' + url.relativeString().substr(0, kMaximumLength);
    if (const auto base = url.base())
      text_ += " -- " + base->absoluteString().substr(0, kMaximumLength);
    text_ += '>';
  }

  void describeData(const Bytes& data) {
    static constexpr std::string_view kDigits = "0123456789abcdef";
    text_ += "0x";
    for (const std::uint8_t byte : data) {
      if (isFull()) return;
      text_ += kDigits[byte >> 4U];
      text_ += kDigits[byte & 0xFU];
    }
  }

  // One line, whatever the text holds.
  void quote(std::string_view text) {
    text_ += '"';
    for (const char c : text) {
      if (isFull()) return;
      const bool isControl = static_cast<unsigned char>(c) < 0x20;
      text_ += isControl ? ' ' : c;
    }
    text_ += '"';
  }

  std::string text_;
};

}  // namespace

std::string Object::description() const {
  Describer describer;
  describer.describe(*this);
  return describer.take();
}

}  // namespace kelpie
