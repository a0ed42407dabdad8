// How long after the end of a burst of writes does a file manager show the new badges? Asked of a
// repository of 50,000 files, with the programs as processes: a burst changes 20 files of one
// folder that is shown, and the time ends when the last of the 20 has its right badge at the host.
//
// The floor is `git status` of the same repository, which the agent cannot do without; it is timed
// after each round. The bar is a median of 350 ms where git takes no more than 100 ms. The
// untracked cache of git is on, as a user of such a repository would have it; the file-system
// monitor is off, since git has none of its own on Linux. The repository lies in memory where there
// is such a file system, so that the time to make it stays short: what git reads is cached either
// way.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "e2e/GitSession.h"
#include "e2e/TestHost.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kFolders = 500;
constexpr int kFilesInAFolder = 100;
constexpr int kBurst = 20;
constexpr int kRounds = 20;
constexpr const char* kInMemory = "/dev/shm";

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

// The programs at work on the repository.
class Latency {
 public:
  Latency() {
    for (int i = 0; i < kFolders * kFilesInAFolder; ++i)
      large_.addFile(
          "src/module" + std::to_string(i / kFilesInAFolder) + "/file" + std::to_string(i) + ".cpp",
          "as committed\n");
    git({"init", "-q"});
    git({"config", "core.untrackedCache", "true"});
    git({"add", "-A"});
    git({"commit", "-q", "-m", "Many"});
    git({"status"});  // it writes the cache
    session_.observe({large_.path()});
    agent_ = session_.startAgent();
    sync_ = session_.startSync();
    host_ = std::make_unique<TestHost>(session_);
    host_->hello();
    host_->show(large_.path());
    host_->sees(large_ / "src", "KPCurrentBadge");
    host_->show(large_ / "src/module250");
  }

  // Writes the files; the time is to be taken after this.
  void burst(const char* contents) const {
    for (int i = 0; i < kBurst; ++i) large_.addFile(nameOf(i), contents);
  }
  // Whether every file of the burst gets that badge.
  bool allHave(const char* badge) {
    bool all = true;
    for (int i = 0; i < kBurst; ++i) all &= host_->sees(large_ / nameOf(i), badge);
    return all;
  }
  // How long git takes, and whether it sees so many files changed.
  bool status(std::size_t changed, double& milliseconds) const {
    const Clock::time_point start = Clock::now();
    const std::string printed = git({"status", "--porcelain=v2"});
    milliseconds = millisecondsSince(start);
    const auto lines = std::count(printed.begin(), printed.end(), '\n');
    return static_cast<std::size_t>(lines) + (printed.empty() ? 0 : 1) == changed;
  }
  std::string conditions() const {
    return git({"--version"}) + ", untracked cache, no file-system monitor, " +
           (large_.path().starts_with(kInMemory) ? "in memory" : "on disk");
  }

 private:
  static std::string nameOf(int i) {
    return "src/module250/file" + std::to_string(250 * kFilesInAFolder + i) + ".cpp";
  }
  std::string git(const std::vector<std::string>& arguments) const {
    return session_.git(large_.path(), arguments);
  }

  GitSession session_;
  TemporaryFolder large_{fs::is_directory(kInMemory) ? kInMemory : "/tmp"};
  std::unique_ptr<ChildProcess> agent_;
  std::unique_ptr<ChildProcess> sync_;
  std::unique_ptr<TestHost> host_;
};

void BadgeLatency(benchmark::State& state) {
  Latency latency;
  if (!latency.allHave("KPCurrentBadge")) {
    state.SkipWithError("no badges: there is nothing to measure");
    return;
  }
  std::vector<double> times;
  std::vector<double> gitTimes;
  bool changes = false;
  for (auto _ : state) {
    changes = !changes;
    latency.burst(changes ? "changed\n" : "as committed\n");
    const Clock::time_point start = Clock::now();
    const bool right = latency.allHave(changes ? "KPWorkdirModifiedBadge" : "KPCurrentBadge");
    times.push_back(millisecondsSince(start));
    gitTimes.emplace_back();
    if (!right || !latency.status(changes ? kBurst : 0, gitTimes.back())) {
      state.SkipWithError("wrong badges: the time means nothing");
      return;
    }
    state.SetIterationTime(times.back() / 1000);
  }
  state.counters["badge_ms"] = median(times);
  state.counters["badge_max_ms"] = *std::max_element(times.begin(), times.end());
  state.counters["status_ms"] = median(gitTimes);
  state.counters["status_max_ms"] = *std::max_element(gitTimes.begin(), gitTimes.end());
  state.counters["ratio"] = median(times) / median(gitTimes);
  state.SetLabel(latency.conditions());
}
BENCHMARK(BadgeLatency)->Iterations(kRounds)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelpie
