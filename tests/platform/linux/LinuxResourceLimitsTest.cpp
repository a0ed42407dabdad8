#include "platform/linux/LinuxResourceLimits.h"

#include <gtest/gtest.h>

namespace kelpie {
namespace {

TEST(LinuxResourceLimits, TheSoftLimitCanBeMovedBelowTheHardOneAndNotAboveIt) {
  LinuxResourceLimits limits;
  const auto former = limits.openFilesLimit();
  ASSERT_TRUE(former);
  ASSERT_GT(former->hard, 64U);
  EXPECT_TRUE(limits.setOpenFilesLimit({former->hard - 1, former->hard}));
  EXPECT_EQ(limits.openFilesLimit(), (OpenFilesLimit{former->hard - 1, former->hard}));
  EXPECT_FALSE(limits.setOpenFilesLimit({former->hard + 1, former->hard}));
  EXPECT_TRUE(limits.setOpenFilesLimit(*former));
  EXPECT_EQ(limits.openFilesLimit(), former);
}

}  // namespace
}  // namespace kelpie
