#include "linux/base/ProcessMemory.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/Sanitizers.h"
#include "support/linux/OwnProcess.h"

namespace kelpie {
namespace {

constexpr int kThreads = 8;

// From what the allocator says of itself.
int countHeaps() {
  char* text = nullptr;
  std::size_t size = 0;
  FILE* const stream = ::open_memstream(&text, &size);
  EXPECT_EQ(::malloc_info(0, stream), 0);
  std::fclose(stream);
  const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
  const std::string_view info(text, size);
  int heaps = 0;
  for (std::size_t at = info.find("<heap "); at != std::string_view::npos;
       at = info.find("<heap ", at + 1))
    ++heaps;
  return heaps;
}

// As many threads as a program has, all of which take memory before one of them ends.
int heapsOfThreads() {
  std::latch all(kThreads);
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&all] {
      const auto memory = std::make_unique<std::array<char, 4096>>();
      all.arrive_and_wait();
    });
  threads.clear();
  return countHeaps();
}

TEST(ProcessMemoryProcess, DISABLED_SharesHeaps) {
  if (!isStartedAsProcess()) GTEST_SKIP() << "runs as another process only";
  const int before = countHeaps();
  ProcessMemory::shareHeaps();
  EXPECT_EQ(before, 1);
  EXPECT_EQ(heapsOfThreads(), 2);
}

TEST(ProcessMemory, ManyThreadsShareTwoHeaps) {
  if (kHasAddressSanitizer || kHasThreadSanitizer) GTEST_SKIP() << "it has its own allocator";
  const auto process = startDisabledTest("ProcessMemoryProcess.DISABLED_SharesHeaps", {});
  EXPECT_EQ(process->waitForEnd(), 0) << process->output();
}

}  // namespace
}  // namespace kelpie
