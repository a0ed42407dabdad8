#include "agent/git/ReferenceNumbers.h"

#include <gtest/gtest.h>

namespace kelpie::agent {
namespace {

TEST(ReferenceNumbers, AReferenceKeepsItsNumber) {
  ReferenceNumbers numbers;
  const auto a = numbers.numberFor("refs/heads/a");
  const auto b = numbers.numberFor("refs/heads/b");
  numbers.forgetOthers();
  EXPECT_NE(a, b);
  EXPECT_EQ(numbers.numberFor("refs/heads/b"), b);
  EXPECT_EQ(numbers.numberFor("refs/heads/a"), a);
}

TEST(ReferenceNumbers, TheNumberOfAReferenceThatIsGoneIsNeverGivenAgain) {
  ReferenceNumbers numbers;
  const auto a = numbers.numberFor("refs/heads/a");
  numbers.forgetOthers();
  numbers.forgetOthers();  // nobody asked for it since
  EXPECT_NE(numbers.numberFor("refs/heads/b"), a);
  EXPECT_NE(numbers.numberFor("refs/heads/a"), a);
}

TEST(ReferenceNumbers, ANumberNamesAReferenceOfOneRepositoryOnly) {
  ReferenceNumbers one;
  ReferenceNumbers other;
  EXPECT_NE(one.numberFor("refs/heads/a"), other.numberFor("refs/heads/a"));
}

TEST(ReferenceNumbers, NoNumberIsZero) {
  // An item without a number bears 0.
  ReferenceNumbers numbers;
  EXPECT_NE(numbers.numberFor("refs/heads/a"), 0);
}

}  // namespace
}  // namespace kelpie::agent
