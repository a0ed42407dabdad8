// Random changes beside a file manager that never asks twice; see README.md here.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <string>

#include "e2e/random/RandomSession.h"

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;

// What a test that others wait for may take; a run with a number of changes takes what it takes.
constexpr std::chrono::seconds kBudget{20};

std::optional<std::uint64_t> numberIn(const char* variable) {
  const char* text = std::getenv(variable);
  return text == nullptr ? std::nullopt : std::optional(std::strtoull(text, nullptr, 10));
}

class RandomChanges : public testing::Test {
 protected:
  RandomChanges() : seed_(numberIn("KELPIE_RANDOM_SEED").value_or(std::random_device()())) {
    std::cout << "KELPIE_RANDOM_SEED=" << seed_ << '\n';
    RecordProperty("seed", std::to_string(seed_));
  }

  void TearDown() override {
    if (HasFailure()) std::cerr << random_.account();
  }

  const std::uint64_t seed_;
  RandomSession random_{seed_};
};

TEST_F(RandomChanges, PushedBadgesBecomeWhatGitSaysAndStaySo) {
  const auto wanted = numberIn("KELPIE_RANDOM_CHANGES");
  ASSERT_TRUE(random_.start());
  const auto end = Clock::now() + kBudget;
  while (wanted ? static_cast<std::uint64_t>(random_.steps()) < *wanted : Clock::now() < end)
    if (!random_.step()) break;
  const int steps = random_.steps();
  if (!HasFailure()) {
    EXPECT_TRUE(random_.settleAfter("the end"));
  }
  std::cout << steps << " steps, kinds of change: " << random_.applied().size() << '\n';
  if (wanted)
    for (const auto& [name, count] : random_.applied())
      std::cout << "  " << count << "  " << name << '\n';
  const BadgeWatch::Latencies latencies = random_.watch().latencies();
  std::cout << "badges right after git's answer, ms: median " << latencies.median << ", 95% "
            << latencies.p95 << ", longest " << latencies.longest << " (step "
            << latencies.longestStep << "), of " << latencies.count
            << " steps that changed badges; "
            << "open folder badges: " << random_.watch().ambiguous() << '\n';
  if (numberIn("KELPIE_RANDOM_LATENCY").value_or(0) == 0) return;
  EXPECT_LE(latencies.p95, 300);
  EXPECT_LE(latencies.longest, 2000);
}

}  // namespace
}  // namespace kelpie
