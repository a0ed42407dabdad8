#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/OpaqueObject.h"
#include "refs/ReferenceClasses.h"

namespace kelpie {

// `object` written to an archive and read from it as a T; null when it is none then.
template <class T>
std::shared_ptr<const T> archivedAndRead(const Object& object) {
  registerReferenceClasses();
  const std::optional<Bytes> archive = KeyedArchiver::archivedData(object);
  if (!archive) return nullptr;
  return KeyedUnarchiver::unarchiveObject(*archive).as<T>();
}

using ArchivedKeys = std::vector<OpaqueObject::Field>;

// What an archive of an object of `className` with just these keys gives.
template <class T>
std::shared_ptr<const T> readFromKeys(const std::string& className, ArchivedKeys keys) {
  return archivedAndRead<T>(OpaqueObject{{className, "NSObject"}, std::move(keys)});
}

}  // namespace kelpie
