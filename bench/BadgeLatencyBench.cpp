// How long after files were saved does a file manager show the new badges? Asked of repositories of
// 1,000, 50,000, 400,000 and 1,000,000 files, a hundred in each folder, with the programs as
// processes: one file of a folder that is shown is saved, or twenty are, and the time ends when the
// last of them has its right badge at the host.
//
// The floor is `git status -- <the folder>`, which the agent cannot do without; it is timed after
// each round. The agent waits for 50 ms of quiet before it asks. The bars are a badge within 60 ms
// and 1.5 times what that git takes, and at most twice its processor time for the agent with its
// git (`agent_cpu_ms`, of a round). Timing that git writes no index, which would be one more
// change. The index is that of a user who has just asked for the status; the file-system monitor of
// git is off, since it has none of its own on Linux. The repository lies in memory where there is
// such a file system: what git reads is cached either way.
//
// The memory is the most that each of the two programs has held, from its start on.
//
// And how often is the status read while 20,000 new files come, such as from an archive? The bar is
// three times, and right badges 300 ms after the last file.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "e2e/GitSession.h"
#include "e2e/TestHost.h"
#include "harness/BenchFiles.h"
#include "harness/PeakMemory.h"
#include "harness/Timing.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFilesInAFolder = 100;
constexpr int kRounds = 20;
constexpr int kNewFiles = 20'000;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The processor time of the process, and of those that it has waited for; absent when it is gone.
std::optional<double> cpuMilliseconds(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t end = line.rfind(')');
  if (end == std::string::npos) return std::nullopt;
  std::istringstream fields(line.substr(end + 1));
  constexpr int kBeforeTimes = 11;
  std::string skipped;
  for (int i = 0; i < kBeforeTimes; ++i) fields >> skipped;
  double ticks = 0;
  for (int i = 0; i < 4; ++i) {
    double each = 0;
    fields >> each;
    ticks += each;
  }
  return ticks * 1000 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double childrenCpuMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto of = [](const timeval& time) {
    return 1000.0 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1000;
  };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

// The programs at work on the repository.
class Latency {
 public:
  // `log`: a file that is given a line for each git that the agent runs; or empty.
  explicit Latency(int files, const std::string& log = {}) {
    for (int i = 0; i < files; ++i) large_.addFile(nameOf(i), "as committed\n");
    git({"init", "-q"});
    git({"config", "gc.auto", "0"});
    git({"add", "-A"});
    git({"commit", "-q", "-m", "Many"});
    git({"status"});
    if (!log.empty())
      session_.addProgram("git", "echo \"$@\" >> " + large_.path() + "/.git/" + log +
                                     "\nexec /usr/bin/git \"$@\"\n");
    session_.observe({large_.path()});
    agent_ = session_.startAgent();
    sync_ = session_.startSync();
    host_ = std::make_unique<TestHost>(session_);
    host_->hello();
    host_->show(large_.path());
    isReady_ = host_->sees(large_ / "src", "KPCurrentBadge");
    host_->show(large_ / folder());
  }

  bool isReady() const { return isReady_; }
  // Until every folder is watched: from then on a change is seen at once.
  bool awaitWatch() {
    const std::string last = nameOf(1);
    for (const char* badge : {"KPWorkdirModifiedBadge", "KPCurrentBadge"}) {
      large_.addFile(last, badge == std::string_view("KPCurrentBadge") ? "as committed\n" : "x\n");
      if (!host_->sees(large_ / last, badge)) return false;
    }
    return true;
  }
  // Writes the files; the time is to be taken after this.
  void burst(int count, const char* contents) const {
    for (int i = 0; i < count; ++i) large_.addFile(nameOf(i), contents);
  }
  // Whether every file of the burst gets that badge.
  bool allHave(int count, const char* badge) {
    bool all = true;
    for (int i = 0; i < count; ++i) all &= host_->sees(large_ / nameOf(i), badge);
    return all;
  }
  // How long git takes for the folder, in all and of the processor, and whether it sees so many
  // files changed.
  bool status(std::size_t changed, double& milliseconds, double& cpu) const {
    const double before = childrenCpuMilliseconds();
    const Clock::time_point start = Clock::now();
    const std::string printed =
        git({"--no-optional-locks", "status", "--porcelain=v2", "--", folder()});
    milliseconds = millisecondsSince(start);
    cpu = childrenCpuMilliseconds() - before;
    const auto lines = std::count(printed.begin(), printed.end(), '\n');
    return static_cast<std::size_t>(lines) + (printed.empty() ? 0 : 1) == changed;
  }
  double agentCpu() const { return cpuMilliseconds(agent_->pid()).value_or(0); }
  // The most memory that each has held, in megabytes.
  double agentPeak() const { return PeakMemory::of(agent_->pid()) / 1e6; }
  double syncPeak() const { return PeakMemory::of(sync_->pid()) / 1e6; }
  std::string conditions() const {
    return git({"--version"}) + ", no file-system monitor, " + "in " + roomyFolder();
  }
  const TemporaryFolder& folderOfAll() const { return large_; }
  TestHost& host() { return *host_; }
  std::size_t readings(const std::string& log) const {
    std::ifstream file(large_ / ".git/" + log);
    std::size_t count = 0;
    for (std::string line; std::getline(file, line);)
      count += line.find(" status ") != std::string::npos ? 1U : 0U;
    return count;
  }

 private:
  // The burst is in the first folder, which is one among many for git.
  static std::string folder() { return "src/part0/module0"; }
  static std::string nameOf(int i) {
    const int module = i / kFilesInAFolder;
    return "src/part" + std::to_string(module / kFilesInAFolder) + "/module" +
           std::to_string(module) + "/file" + std::to_string(i) + ".cpp";
  }
  std::string git(const std::vector<std::string>& arguments) const {
    return session_.git(large_.path(), arguments);
  }

  GitSession session_;
  TemporaryFolder large_{roomyFolder()};
  std::unique_ptr<ChildProcess> agent_;
  std::unique_ptr<ChildProcess> sync_;
  std::unique_ptr<TestHost> host_;
  bool isReady_ = false;
};

void BadgeLatency(benchmark::State& state) {
  const int count = static_cast<int>(state.range(1));
  Latency latency(static_cast<int>(state.range(0)));
  if (!latency.isReady() || !latency.awaitWatch()) {
    state.SkipWithError("no badges: there is nothing to measure");
    return;
  }
  std::vector<double> times;
  std::vector<double> gitTimes;
  std::vector<double> cpuTimes;
  std::vector<double> gitCpuTimes;
  bool changes = false;
  for (auto _ : state) {
    changes = !changes;
    const double before = latency.agentCpu();
    latency.burst(count, changes ? "changed\n" : "as committed\n");
    const Clock::time_point start = Clock::now();
    const bool right =
        latency.allHave(count, changes ? "KPWorkdirModifiedBadge" : "KPCurrentBadge");
    times.push_back(millisecondsSince(start));
    cpuTimes.push_back(latency.agentCpu() - before);
    gitTimes.emplace_back();
    gitCpuTimes.emplace_back();
    const auto changed = static_cast<std::size_t>(changes ? count : 0);
    if (!right || !latency.status(changed, gitTimes.back(), gitCpuTimes.back())) {
      state.SkipWithError("wrong badges: the time means nothing");
      return;
    }
    state.SetIterationTime(times.back() / 1000);
  }
  state.counters["badge_ms"] = median(times);
  state.counters["badge_max_ms"] = *std::max_element(times.begin(), times.end());
  state.counters["git_ms"] = median(gitTimes);
  state.counters["bar_ms"] = 60 + 1.5 * median(gitTimes);
  state.counters["agent_cpu_ms"] = median(cpuTimes);
  state.counters["git_cpu_ms"] = median(gitCpuTimes);
  state.counters["agent_peak_MB"] = latency.agentPeak();
  state.counters["sync_peak_MB"] = latency.syncPeak();
  state.counters["cpu_ratio"] = median(cpuTimes) / median(gitCpuTimes);
  state.SetLabel(latency.conditions());
}
BENCHMARK(BadgeLatency)
    ->ArgNames({"files", "saved"})
    ->Args({1'000, 1})
    ->Args({50'000, 1})
    ->Args({50'000, 20})
    ->Args({400'000, 1})
    ->Args({1'000'000, 1})
    ->Iterations(kRounds)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void NewFiles(benchmark::State& state) {
  const std::string log = "asked";
  Latency latency(static_cast<int>(state.range(0)), log);
  if (!latency.isReady() || !latency.awaitWatch()) {
    state.SkipWithError("no badges: there is nothing to measure");
    return;
  }
  for (auto _ : state) {
    const std::size_t before = latency.readings(log);
    const Clock::time_point begin = Clock::now();
    std::string last;
    for (int i = 0; i < kNewFiles; ++i) {
      last = "new/part" + std::to_string(i / kFilesInAFolder) + "/file" + std::to_string(i);
      latency.folderOfAll().addFile(last, "new\n");
    }
    const double took = millisecondsSince(begin);
    const std::size_t during = latency.readings(log) - before;
    const Clock::time_point start = Clock::now();
    latency.host().ask({latency.folderOfAll() / last});
    if (!latency.host().sees(latency.folderOfAll() / last, "KPWorkdirNewBadge")) {
      state.SkipWithError("the last file has no badge");
      return;
    }
    const double right = millisecondsSince(start);
    state.SetIterationTime(right / 1000);
    state.counters["burst_ms"] = took;
    state.counters["readings"] = static_cast<double>(during);
    state.counters["right_after_ms"] = right;
  }
  state.SetLabel(latency.conditions());
}
BENCHMARK(NewFiles)->ArgName("files")->Arg(50'000)->Iterations(1)->UseManualTime()->Unit(
    benchmark::kMillisecond);

}  // namespace
}  // namespace kelpie
