// What the programs hold as time goes by; see README.md here.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <ratio>
#include <string>

#include "e2e/soak/SoakJudge.h"
#include "e2e/soak/SoakReport.h"
#include "e2e/soak/SoakSession.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;
using Mortal = Programs::Mortal;

// Who is ended now and then; the other one lives the whole time.
struct SoakKind {
  const char* name;
  Mortal mortal;
};
constexpr SoakKind kSoakKinds[] = {
    {"NobodyIsEnded", Mortal::Neither},
    {"TheAgentIsEnded", Mortal::Agent},
    {"TheExtensionIsEnded", Mortal::Extension},
};

void PrintTo(const SoakKind& kind, std::ostream* out) { *out << kind.name; }

// How long it goes on, and how often all is looked at.
struct SoakPlan {
  int checkpoints;
  std::size_t warmUp;  // checkpoints that are not judged; the first is made before any change
  int steps;           // between two of them, at least
  Clock::duration interval{};
  unsigned percent;  // see SoakSession::Options
  int errands;
};

std::string variable(const char* name) {
  const char* text = std::getenv(name);
  return text == nullptr ? "" : text;
}

SoakPlan thePlan() {
  const std::string minutes = variable("KELPIE_SOAK_MINUTES");
  if (minutes.empty()) return {2, 1, kHasThreadSanitizer ? 2 : 4, {}, 30, 1};
  constexpr int kCheckpoints = 20;
  const std::chrono::duration<double, std::ratio<60>> whole(std::stod(minutes));
  return {
      kCheckpoints,       3, 0, std::chrono::duration_cast<Clock::duration>(whole / kCheckpoints),
      Programs::kPercent, 5};
}

class Soak : public testing::TestWithParam<SoakKind> {
 protected:
  Soak() {
    std::cout << "KELPIE_SOAK_SEED=" << seed_ << '\n';
    RecordProperty("seed", std::to_string(seed_));
  }
  void TearDown() override {
    if (HasFailure()) std::cerr << soak_.account();
  }

  static std::uint64_t theSeed() {
    const std::string text = variable("KELPIE_SOAK_SEED");
    return text.empty() ? std::random_device()() : std::stoull(text);
  }

  // Until the next checkpoint, and that.
  bool goOn(int number) {
    const Clock::time_point next = start_ + number * plan_.interval;
    for (int i = 0; i < plan_.steps || Clock::now() < next; ++i)
      if (!soak_.step()) return false;
    return soak_.rest();
  }
  void tell() const {
    const SoakSession::Checkpoint& now = soak_.checkpoints().back();
    std::cout << GetParam().name << ": " << std::llround(now.minutes) << " minutes, " << now.changes
              << " changes, " << now.compared << " badges compared, " << now.ended
              << " programs ended; kelpie-agent " << now.agent.residentKiB << " KiB, kelpie-sync "
              << now.extension.residentKiB << " KiB\n"
              << std::flush;
  }
  void report() const {
    if (const std::string file = variable("KELPIE_SOAK_REPORT"); !file.empty())
      std::ofstream(file) << soakReport(soak_, GetParam().name, seed_, plan_.warmUp).dump(1);
  }

  const SoakPlan plan_ = thePlan();
  const std::uint64_t seed_ = theSeed();
  SoakSession soak_{seed_, {GetParam().mortal, plan_.percent, plan_.errands}};
  const Clock::time_point start_ = Clock::now();
};

TEST_P(Soak, WhatIsHeldStaysWhatItWas) {
  bool isRight = soak_.start();
  for (int number = 1; isRight && number <= plan_.checkpoints; ++number) {
    isRight = goOn(number);
    if (isRight) tell();
    report();
  }
  EXPECT_TRUE(isRight);
  std::size_t judged = 0;
  for (const SoakSeries& series : soak_.series()) {
    const SoakVerdict verdict = judge(series, plan_.warmUp);
    judged += verdict.isJudged ? 1U : 0U;
    EXPECT_TRUE(verdict.isRight) << series.process << ": " << series.figure << ": "
                                 << verdict.finding;
  }
  EXPECT_GE(judged, 10U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Soak, testing::ValuesIn(kSoakKinds),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

}  // namespace
}  // namespace kelpie
