#include "linux/base/ProcessEnd.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <iostream>
#include <new>
#include <thread>

#include "linux/base/MainLoop.h"
#include "linux/base/SocketFiles.h"
#include "linux/base/StderrLog.h"
#include "linux/base/ThreadPool.h"
#include "linux/base/UnixListener.h"
#include "support/TemporaryFolder.h"
#include "support/linux/OwnProcess.h"

namespace kelpie {
namespace {

constexpr const char* kFolderVariable = "KELPIE_TEST_FOLDER";

// What a process does when the signal comes: each never ends by itself.
enum class Busy { kMainLoop, kQueue, kMainThread };

// No test: a process with a socket that is then busy for ever.
void serveFor(Busy busy) {
  if (!isStartedAsProcess()) GTEST_SKIP() << "runs as another process only";
  ASSERT_EQ(ProcessEnd::onSignals(), std::nullopt);
  StderrLog log;
  MainLoop loop(log);
  ThreadPool pool(log, 1);
  const std::string folder = std::getenv(kFolderVariable);
  const auto listener = UnixListener::create(loop, folder + "/socket", [](UniqueFd) {});
  std::promise<void> never;
  const auto wait = [&] {
    std::cout << "is busy" << std::endl;
    never.get_future().wait();
  };
  if (busy == Busy::kQueue) pool.makeQueue("stuck")->post(wait);
  if (busy == Busy::kMainThread) wait();
  if (busy == Busy::kMainLoop) std::cout << "is busy" << std::endl;
  loop.run();
}

TEST(ProcessEndProcess, DISABLED_WithAnIdleMainLoop) { serveFor(Busy::kMainLoop); }
TEST(ProcessEndProcess, DISABLED_WithAStuckQueue) { serveFor(Busy::kQueue); }
TEST(ProcessEndProcess, DISABLED_WithAStuckMainThread) { serveFor(Busy::kMainThread); }
TEST(ProcessEndProcess, DISABLED_WithAStatus) {
  if (isStartedAsProcess()) ProcessEnd::now(3);
}

TEST(ProcessEndProcess, DISABLED_WithAnException) {
  if (!isStartedAsProcess()) GTEST_SKIP() << "runs as another process only";
  ASSERT_EQ(ProcessEnd::onSignals(), std::nullopt);
  std::thread([] { throw std::bad_alloc(); }).join();
}

class ProcessEndTest : public testing::TestWithParam<const char*> {};

TEST_P(ProcessEndTest, ASignalEndsItWithStatus0AndRemovesItsSockets) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    const TemporaryFolder folder;
    const auto process = startDisabledTest(std::string("ProcessEndProcess.") + GetParam(),
                                           {{kFolderVariable, folder.path()}});
    ASSERT_TRUE(process->waitForOutput("is busy")) << process->errors();
    EXPECT_TRUE(std::filesystem::is_socket(folder / "socket"));
    process->signal(signal);
    EXPECT_EQ(process->waitForEnd(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  }
}

INSTANTIATE_TEST_SUITE_P(WhateverItDoes, ProcessEndTest,
                         testing::Values("DISABLED_WithAnIdleMainLoop", "DISABLED_WithAStuckQueue",
                                         "DISABLED_WithAStuckMainThread"),
                         [](const auto& test) { return std::string(test.param).substr(9); });

TEST(ProcessEnd, AnExceptionThatNobodyCatchesIsOneLine) {
  const auto process = startDisabledTest("ProcessEndProcess.DISABLED_WithAnException", {});
  EXPECT_EQ(process->waitForEnd(), 128 + SIGABRT);
  EXPECT_EQ(process->errors(), "the program ends: std::bad_alloc\n");
}

TEST(ProcessEnd, NowEndsWithThatStatus) {
  const auto process = startDisabledTest("ProcessEndProcess.DISABLED_WithAStatus", {});
  EXPECT_EQ(process->waitForEnd(), 3);
}

}  // namespace
}  // namespace kelpie
