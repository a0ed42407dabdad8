#include "archive/ClassTable.h"

#include <utility>

#include "foundation/Menu.h"
#include "foundation/MenuItem.h"

namespace kelpie {

ClassTable::ClassTable() {
  add("NSMenuItem", &MenuItem::decode);
  add("NSMenu", &Menu::decode);
}

ClassTable& ClassTable::shared() {
  static ClassTable table;
  return table;
}

void ClassTable::add(std::string_view className, Factory factory) {
  const MutexLock lock(mutex_);
  factories_.insert_or_assign(std::string(className), std::move(factory));
}

ClassTable::Factory ClassTable::find(std::string_view className) const {
  const MutexLock lock(mutex_);
  const auto found = factories_.find(className);
  return found != factories_.end() ? found->second : nullptr;
}

}  // namespace kelpie
