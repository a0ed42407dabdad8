#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Bytes.h"
#include "foundation/Object.h"

namespace kelpie {

inline Object open(const Bytes& archive) {
  return KeyedUnarchiver::open(std::make_shared<const Bytes>(archive));
}

// Reads everything that can be reached, and what can be done with an object.
inline void use(const Bytes& archive) {
  const Object whole = KeyedUnarchiver::unarchiveObject(archive);
  const Object opened = open(archive);
  EXPECT_LE(whole.description().size(), 310U);
  EXPECT_LE(opened.description().size(), 310U);
  EXPECT_TRUE(whole.hash() == whole.hash() && opened.hash() == opened.hash());
  EXPECT_EQ(whole.isEqual(whole), !whole.isNil());
  KeyedArchiver::archivedData(whole);
  KeyedArchiver::archivedData(opened);
}

}  // namespace kelpie
