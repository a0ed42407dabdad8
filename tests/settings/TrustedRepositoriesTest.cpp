#include "settings/TrustedRepositories.h"

#include <gtest/gtest.h>

#include "settings/WithheldPrograms.h"

namespace kelpie {
namespace {

TEST(TrustedRepositories, PathsAreBytesAndComeBackAsTheyWere) {
  TrustedRepositories trusted;
  EXPECT_TRUE(trusted.add("/a"));
  EXPECT_TRUE(trusted.add("/\xff"));
  EXPECT_FALSE(trusted.add("/a"));
  trusted = TrustedRepositories::fromObject(trusted.toObject());
  EXPECT_EQ(trusted.paths(), (std::vector<std::string>{"/a", "/\xff"}));
  EXPECT_TRUE(trusted.remove("/a"));
  EXPECT_FALSE(trusted.remove("/a"));
}

TEST(TrustedRepositories, AnythingButAbsolutePathsIsPassedOver) {
  const Object list = Objects{1, "relative", "", "/a", Object(), Objects{"/b"}, "/a"};
  EXPECT_EQ(TrustedRepositories::fromObject(list).paths(), std::vector<std::string>{"/a"});
  for (const Object& none : {Object(), Object(7), Object("/a")})
    EXPECT_TRUE(TrustedRepositories::fromObject(none).paths().empty());
}

// Compared with each other they would take longer than a test may.
TEST(TrustedRepositories, HundredsOfThousandsOfPathsAreRead) {
  constexpr std::size_t kCount = 400'000;
  Objects list;
  for (std::size_t i = 0; i < kCount; ++i) list.emplace_back("/repository" + std::to_string(i));
  EXPECT_EQ(TrustedRepositories::fromObject(list).paths().size(), kCount);
}

TEST(WithheldPrograms, ComeBackAsTheyWere) {
  const WithheldPrograms programs = {{"/a", {"core.fsmonitor: x", "\xff"}}, {"/b\n", {"y"}}};
  EXPECT_EQ(withheldProgramsOf(withheldProgramsToDictionary(programs)), programs);
  EXPECT_TRUE(withheldProgramsOf({}).empty());
  EXPECT_TRUE(withheldProgramsOf({{"repositories", Objects{1, Dictionary{{"path", 2}}}}}).empty());
}

}  // namespace
}  // namespace kelpie
