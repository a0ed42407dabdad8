#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "foundation/Archivable.h"
#include "foundation/KeyedCoder.h"
#include "foundation/Mutex.h"

namespace kelpie {

// The classes beyond the plain values that an archive may hold, by the name that they have there.
// Each class is entered by its own folder before the first message is read. Any thread.
class ClassTable {
 public:
  // Makes an object from its archived keys. Null when it cannot be made; the object then reads as
  // nil.
  using Factory = std::function<std::shared_ptr<const Archivable>(const KeyedDecoder& coder)>;

  // The process's table. It knows "NSMenuItem" and "NSMenu" from the start.
  static ClassTable& shared();

  // Adds or replaces.
  void add(std::string_view className, Factory factory);
  // Empty for a class that is not known.
  Factory find(std::string_view className) const;

 private:
  ClassTable();

  mutable Mutex mutex_;
  std::map<std::string, Factory, std::less<>> factories_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
