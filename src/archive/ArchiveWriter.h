#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/BinaryPropertyListWriter.h"
#include "foundation/Bytes.h"
#include "foundation/FunctionRef.h"
#include "foundation/HashIndex.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"
#include "foundation/OpaqueObject.h"

namespace kelpie {

// Writes one keyed archive (see ArchiveReader for what it is). An object that is met twice is
// written once: plain values by their content, anything else by identity. For one archive, on one
// thread.
class ArchiveWriter {
 public:
  // `nesting` archives stand inside one another, this one included; the object that holds this one
  // is the `depth`th inside one another.
  explicit ArchiveWriter(int nesting = 1, int depth = 0) : nesting_(nesting), depth_(depth) {}

  // The archive of `root`; absent when something in it is nested too deep. To be called once.
  std::optional<Bytes> archivedData(const Object& root);

 private:
  using Number = BinaryPropertyListWriter::Number;
  using ClassNames = std::vector<std::string_view>;
  class Fields;

  // The number of the object in the archive; a new object is written first.
  std::uint32_t uidOf(const Object& object);
  // The number of a plain value, given its number in the property list.
  std::uint32_t uidOfPlain(Number number);
  std::uint32_t uidOfString(const Object& object);
  std::uint32_t uidOfData(const Object& object);
  // The number of an object that has a class.
  std::uint32_t uidOfShared(const Object& object);
  std::uint32_t uidOfClass(const ClassNames& names);
  // Writes a new object, and then its class when that is new.
  std::uint32_t addObject(const Object& object, FunctionRef<std::uint32_t()> uidOfItsClass);
  // One whose class is that of its kind.
  std::uint32_t addPlainObject(const Object& object);

  std::optional<std::uint32_t> uidOfAddress(const void* address) const;
  void share(const Object& object, const void* address, std::uint32_t uid);

  void writeFields(const Object& object, Fields& fields);
  void writeError(const Object& object, Fields& fields);
  void writeOpaque(const OpaqueObject& object, Fields& fields);
  Number references(const ObjectView& elements);
  Number reference(const Object& object) { return list_.addUid(uidOf(object)); }

  BinaryPropertyListWriter list_;
  int nesting_;
  int depth_;
  bool isTooDeep_ = false;
  // What the objects that are being written hold so far, those inside others on top.
  std::vector<Number> keys_;
  std::vector<Number> values_;
  std::vector<Number> elements_;
  std::vector<Number> objects_;  // the archive's objects, by their numbers in the property list
  std::vector<std::uint32_t> plain_;  // numbers of plain values in the archive, by those in list_
  std::map<std::vector<std::string>, std::uint32_t> classes_;
  struct PlainClass {
    std::pair<Object::Kind, bool> of;  // and whether it is mutable
    std::uint32_t uid = 0;
  };
  std::vector<PlainClass> plainClasses_;  // a handful
  // An object that is known by its identity, and kept: some of them live for the archive alone.
  struct Shared {
    Object object;
    const void* address = nullptr;  // its sharedAddress()
    std::uint32_t uid = 0;
  };
  std::vector<Shared> shared_;
  HashIndex sharedIndex_;  // of shared_, by address
};

}  // namespace kelpie
