#include "foundation/Dictionary.h"

#include <gtest/gtest.h>

#include <string>

namespace kelpie {
namespace {

TEST(Dictionary, EntriesOfATemporaryOutliveIt) {
  const auto make = [] { return Dictionary{{"first", "a text too long to be stored in place"}}; };
  std::string seen;
  for (const auto& [key, value] : make().entries()) seen += key.stringValue() + value.stringValue();
  EXPECT_EQ(seen, "firsta text too long to be stored in place");
}

}  // namespace
}  // namespace kelpie
