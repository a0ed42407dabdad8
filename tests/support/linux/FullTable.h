#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

#include "linux/base/SystemError.h"

namespace kelpie {

// While it lives, this process gets no new file descriptor: its table is full.
class FullTable {
 public:
  FullTable() {
    // The sanitizer needs descriptors for its first look at what tells of an error.
    EXPECT_FALSE(systemErrorText("none", EMFILE).empty());
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &former_), 0);
    const rlimit none = {0, former_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  ~FullTable() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &former_), 0); }
  FullTable(const FullTable&) = delete;
  FullTable& operator=(const FullTable&) = delete;

 private:
  rlimit former_{};
};

}  // namespace kelpie
