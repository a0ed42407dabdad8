#include <gtest/gtest.h>

#include <string>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

using LfsActionsTest = ActionFixture;

// What the program was called with last, without its folder.
std::string lastCall(const std::string& calls) {
  return calls.substr(
      calls.rfind('/') == std::string::npos ? 0 : calls.find('\n', calls.rfind("/r\n")));
}

TEST_F(LfsActionsTest, CallsTheProgram) {
  addRemote();
  addProgram("git-lfs");
  expectDone(run(request("lfsFetch:")));
  EXPECT_EQ(lastCall(sandbox.read("git-lfs")), "\nfetch\n");
  expectDone(run(request("lfsPrune:")));
  EXPECT_EQ(lastCall(sandbox.read("git-lfs")), "\nprune\n");
  expectDone(run(request("lfsPush:")));
  EXPECT_EQ(lastCall(sandbox.read("git-lfs")), "\npush\norigin\nmain\n");
}

TEST_F(LfsActionsTest, WhatTheProgramSaysReachesTheUser) {
  addProgram("git-lfs", "[ \"$1\" = version ] || { echo 'batch response: gone' >&2; exit 2; }");
  expectFailed(run(request("lfsFetch:")), "batch response: gone");
}

TEST_F(LfsActionsTest, WithoutTheProgramItSaysSo) {
  addProgram("git-lfs", "exit 1");
  for (const char* action : {"lfsFetch:", "lfsPush:", "lfsPrune:"})
    expectFailed(run(request(action)), "git-lfs is not installed");
}

}  // namespace
}  // namespace kelpie::agent
