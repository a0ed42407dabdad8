#include "support/linux/SecondUser.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>

namespace kelpie {
namespace {

constexpr long kSame = -1;

// The C library's functions of these names speak to all threads of the process.
bool setGroups(const std::vector<gid_t>& groups) {
  return ::syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}
bool setEffectiveGroup(gid_t group) {
  return ::syscall(SYS_setresgid, kSame, static_cast<long>(group), kSame) == 0;
}
bool setEffectiveUser(uid_t user) {
  return ::syscall(SYS_setresuid, kSame, static_cast<long>(user), kSame) == 0;
}

}  // namespace

bool SecondUser::isPossible() { return ::geteuid() == 0; }

SecondUser::SecondUser() : formerUser_(::geteuid()), formerGroup_(::getegid()) {
  const int count = ::getgroups(0, nullptr);
  formerGroups_.resize(static_cast<std::size_t>(count));
  EXPECT_EQ(::getgroups(count, formerGroups_.data()), count);
  EXPECT_TRUE(setGroups({}));
  EXPECT_TRUE(setEffectiveGroup(kId));
  EXPECT_TRUE(setEffectiveUser(kId));
}

SecondUser::~SecondUser() {
  EXPECT_TRUE(setEffectiveUser(formerUser_));
  EXPECT_TRUE(setEffectiveGroup(formerGroup_));
  EXPECT_TRUE(setGroups(formerGroups_));
}

}  // namespace kelpie
