// Random changes beside a file manager that never asks twice; see README.md here.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "e2e/random/BadgeWatch.h"
#include "e2e/random/Playground.h"
#include "e2e/random/ProgramChanges.h"

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;

// What a test that others wait for may take; a run with a number of changes takes what it takes.
constexpr std::chrono::seconds kBudget{20};
// Of a working copy with more files than these a part is thrown away.
constexpr std::size_t kMaximumFiles = 120;
constexpr std::size_t kShownSteps = 40;  // of a run that fails

std::optional<std::uint64_t> numberIn(const char* variable) {
  const char* text = std::getenv(variable);
  return text == nullptr ? std::nullopt : std::optional(std::strtoull(text, nullptr, 10));
}

class RandomChanges : public testing::Test {
 protected:
  RandomChanges()
      : seed_(numberIn("KELPIE_RANDOM_SEED").value_or(std::random_device()())), random_(seed_) {
    std::cout << "KELPIE_RANDOM_SEED=" << seed_ << '\n';
    RecordProperty("seed", std::to_string(seed_));
    session_.setVariable("GIT_EDITOR", ":");
    session_.setVariable("GIT_MERGE_AUTOEDIT", "no");
    code_ = session_.home().addFolder("code");
    for (const char* name : {"first", "second"}) {
      session_.addRepository(std::string("code/").append(name), {"a.txt", "src/main.cpp"});
      places_.emplace_back(session_, code_ + "/" + name, random_);
    }
    for (const auto& table : {fileChanges(), folderChanges(), gitChanges(), historyChanges()})
      kinds_.insert(kinds_.end(), table.begin(), table.end());
  }

  void TearDown() override {
    if (!HasFailure()) return;
    std::cerr << "the last steps:\n";
    for (std::size_t i = history_.size() - std::min(history_.size(), kShownSteps);
         i < history_.size(); ++i)
      std::cerr << history_[i] << '\n';
    std::cerr << programs_.logs();
  }

  const ChangeKind& aKind();
  // Changes something at random, and says what.
  std::string change();
  void keepSmall(Playground& place);
  // A step. False when a badge is wrong and stays so.
  bool step(int number);

  const std::uint64_t seed_;
  Playground::Random random_;
  GitSession session_;
  std::string code_;
  std::vector<Playground> places_;
  std::vector<ChangeKind> kinds_;
  Programs programs_{session_};
  std::optional<BadgeWatch> watch_;
  std::vector<std::string> history_;
  std::map<std::string, int> applied_;  // how often, by name
};

const ChangeKind& RandomChanges::aKind() {
  std::size_t sum = 0;
  for (const ChangeKind& kind : kinds_) sum += kind.weight;
  std::size_t at = places_.front().below(sum);
  for (const ChangeKind& kind : kinds_) {
    if (at < kind.weight) return kind;
    at -= kind.weight;
  }
  return kinds_.back();
}

void RandomChanges::keepSmall(Playground& place) {
  while (place.files().size() > kMaximumFiles)
    for (int i = 0; i < 10; ++i)
      if (const auto folder = place.aFolder(); folder && i == 0)
        place.remove(*folder);
      else if (const auto file = place.aFile())
        place.remove(*file);
}

std::string RandomChanges::change() {
  Playground& place = places_.at(places_.front().below(places_.size()));
  keepSmall(place);
  for (;;) {
    const ChangeKind& kind = aKind();
    if (!kind.apply(place)) continue;
    ++applied_[std::string(kind.name)];
    return std::string(kind.name) + " in " +
           std::filesystem::path(place.root()).filename().string();
  }
}

bool RandomChanges::step(int number) {
  Playground& chooser = places_.front();
  std::string what;
  Programs::Disturbance disturbance(programs_, chooser);
  what += disturbance.name();
  if (!disturbance.name().empty()) ++applied_[disturbance.name()];
  for (int more = chooser.chance(20) ? 4 : 1; more > 0; --more) what += "; " + change();
  if (!disturbance.end()) {
    ADD_FAILURE() << "a program does not come back after step " << number << ": " << what;
    return false;
  }
  if (!disturbance.name().empty()) watch_->programsStarted(number);
  if (disturbance.hasCutOff()) watch_->connect(number);
  programs_.drain();
  history_.push_back(std::to_string(number) + ": " + what);
  return watch_->settle(number, what, chooser.chance(10));
}

TEST_F(RandomChanges, PushedBadgesBecomeWhatGitSaysAndStaySo) {
  const auto wanted = numberIn("KELPIE_RANDOM_CHANGES");
  session_.observe({session_.home().path()});
  programs_.start();
  std::vector<std::string> roots;
  for (const Playground& place : places_) roots.push_back(place.root());
  watch_.emplace(session_, code_, roots);
  ASSERT_TRUE(watch_->connect(0));
  ASSERT_TRUE(watch_->settle(0, "the start", true));
  const auto end = Clock::now() + kBudget;
  int steps = 0;
  while (wanted ? static_cast<std::uint64_t>(steps) < *wanted : Clock::now() < end) {
    ++steps;
    if (!step(steps)) break;
  }
  if (!HasFailure()) {
    EXPECT_TRUE(watch_->settle(steps + 1, "the end", true));
  }
  std::cout << steps << " steps, kinds of change: " << applied_.size() << '\n';
  if (wanted)
    for (const auto& [name, count] : applied_) std::cout << "  " << count << "  " << name << '\n';
  const BadgeWatch::Latencies latencies = watch_->latencies();
  std::cout << "badges right after git's answer, ms: median " << latencies.median << ", 95% "
            << latencies.p95 << ", longest " << latencies.longest << " (step "
            << latencies.longestStep << "), of " << latencies.count
            << " steps that changed badges; "
            << "open folder badges: " << watch_->ambiguous() << '\n';
  if (numberIn("KELPIE_RANDOM_LATENCY").value_or(0) == 0) return;
  EXPECT_LE(latencies.p95, 300);
  EXPECT_LE(latencies.longest, 2000);
}

}  // namespace
}  // namespace kelpie
