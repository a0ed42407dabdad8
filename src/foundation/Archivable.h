#pragma once

#include <memory>
#include <string_view>
#include <vector>

namespace kelpie {

class KeyedEncoder;

// An object of a class that is not a plain value: a menu item, a reference record, a tree node.
// The codec knows such a class only through this interface and its entry in the ClassTable.
class Archivable {
 public:
  virtual ~Archivable() = default;

  // The names of the class and its ancestors, most derived first and "NSObject" last, as they
  // stand under `$classes` of a keyed archive. Borrowed for the life of the process.
  virtual std::vector<std::string_view> classNames() const = 0;

  // Writes the object's keys. Any thread that may read the object.
  virtual void encodeWithCoder(KeyedEncoder& coder) const = 0;

 protected:
  Archivable() = default;
  Archivable(const Archivable&) = default;
  Archivable(Archivable&&) = default;
  Archivable& operator=(const Archivable&) = default;
  Archivable& operator=(Archivable&&) = default;
};

}  // namespace kelpie
