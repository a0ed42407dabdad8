#pragma once

#include <sys/types.h>

#include <vector>

namespace kelpie {

// While it lives, the calling thread acts as another user of this machine: the system checks its
// files and tells the other end of its sockets accordingly. Other threads, and processes started
// before, stay who they were. Only root can become somebody else: ask isPossible() first.
class SecondUser {
 public:
  // A user and a group that own nothing here.
  static constexpr uid_t kId = 65534;

  static bool isPossible();

  SecondUser();
  ~SecondUser();
  SecondUser(const SecondUser&) = delete;
  SecondUser& operator=(const SecondUser&) = delete;

 private:
  std::vector<gid_t> formerGroups_;
  uid_t formerUser_;
  gid_t formerGroup_;
};

}  // namespace kelpie
