#include "foundation/Result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace kelpie {
namespace {

Result<std::unique_ptr<int>> make(int number) {
  if (number < 0) return Problem{"it is below 0"};
  return std::make_unique<int>(number);
}

TEST(Result, HoldsWhatWasMade) {
  auto made = make(7);
  ASSERT_TRUE(made);
  EXPECT_EQ(**made, 7);
  EXPECT_EQ(made.problem(), "");
  const std::unique_ptr<int> taken = *std::move(made);
  EXPECT_EQ(*taken, 7);
}

TEST(Result, OrWhyThereIsNothing) {
  const auto made = make(-1);
  EXPECT_FALSE(made);
  EXPECT_EQ(made.problem(), "it is below 0");
}

// A text may be what was made, and a problem has one, too.
TEST(Result, ATextIsAValueAndNoProblem) {
  const Result<std::string> made = std::string("a text");
  ASSERT_TRUE(made);
  EXPECT_EQ(made->size(), 6U);
}

}  // namespace
}  // namespace kelpie
