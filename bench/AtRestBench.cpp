// What do the programs cost while nothing changes? Asked of many open repositories, as processes:
// each has been shown once, has its badges, and nobody has done anything since.
//
// All three bars are absolute: no wake-ups in either program, under 150 MB and under 10 threads in
// each, with a hundred repositories of 50,000 files. A wake-up is a context switch of any of the
// program's threads, as the kernel counts them. They are counted for half a minute, after a rest in
// which all that is put off for later is done: what was read in parts is proven after a minute.
//
// The files are empty, two hundred in each folder, so that the folders can all be watched where the
// system allows 65,536 watches. They lie on the disk: five million are more than a file system in
// memory takes.

#include <benchmark/benchmark.h>
#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "e2e/GitSession.h"
#include "e2e/TestHost.h"
#include "harness/BenchFiles.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr int kFilesInAFolder = 200;
constexpr std::chrono::seconds kRest{90};
constexpr std::chrono::seconds kCounted{30};

// A number of one of the kernel's files about a process or a thread; 0 when there is none.
double numberOf(const std::filesystem::path& folder, std::string_view field) {
  std::ifstream status(folder / "status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(field)) return std::atof(line.c_str() + field.size());
  return 0;
}

// What the kernel says of a program.
struct Program {
  explicit Program(pid_t process) : folder("/proc/" + std::to_string(process)) {}

  double megabytes() const { return numberOf(folder, "VmRSS:") * 1024 / 1e6; }
  double threads() const { return numberOf(folder, "Threads:"); }
  double switches() const {
    double sum = 0;
    for (const auto& thread : std::filesystem::directory_iterator(folder / "task"))
      sum += numberOf(thread, "voluntary_ctxt_switches:") +
             numberOf(thread, "nonvoluntary_ctxt_switches:");
    return sum;
  }

  std::filesystem::path folder;
};

class Session {
 public:
  // False when a repository has no badges.
  bool open(int repositories, int files) {
    for (int i = 0; i < repositories; ++i) addRepository(i, files);
    session_.observe({folder_.path()});
    agent_ = session_.startAgent();
    sync_ = session_.startSync();
    host_ = std::make_unique<TestHost>(session_);
    host_->hello();
    bool areRight = true;
    for (int i = 0; i < repositories; ++i) {
      host_->show(rootOf(i));
      areRight &= host_->sees(rootOf(i) + "/src", "KPWorkdirModifiedBadge");
    }
    return areRight;
  }
  // Whether a change is seen in the repository, which needs a watch in the folder.
  bool notices(int repository) {
    host_->show(rootOf(repository) + "/src/part1");
    const std::string file = rootOf(repository) + "/src/part1/file200";
    std::ofstream(file) << "changed\n";
    return host_->sees(file, "KPWorkdirModifiedBadge");
  }
  Program agent() const { return Program(agent_->pid()); }
  Program sync() const { return Program(sync_->pid()); }
  std::string conditions() const { return session_.git("", {"--version"}); }

 private:
  std::string rootOf(int i) const { return folder_ / ("repository" + std::to_string(i)); }
  void addRepository(int number, int files) const {
    const std::string root = rootOf(number);
    for (int i = 0; i < files; ++i) {
      const std::string part = root + "/src/part" + std::to_string(i / kFilesInAFolder);
      if (i % kFilesInAFolder == 0) std::filesystem::create_directories(part);
      touch(part + "/file" + std::to_string(i));
    }
    session_.git(root, {"init", "-q"});
    session_.git(root, {"config", "gc.auto", "0"});
    session_.git(root, {"add", "-A"});
    session_.git(root, {"commit", "-q", "-m", "Many"});
    std::ofstream(root + "/src/part0/file0") << "changed\n";
  }

  GitSession session_;
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> agent_;
  std::unique_ptr<ChildProcess> sync_;
  std::unique_ptr<TestHost> host_;
};

void AtRest(benchmark::State& state) {
  const int repositories = static_cast<int>(state.range(0));
  Session session;
  if (!session.open(repositories, static_cast<int>(state.range(1)))) {
    state.SkipWithError("no badges: there is nothing to measure");
    return;
  }
  for (auto _ : state) {
    std::this_thread::sleep_for(kRest);
    const double agent = session.agent().switches();
    const double sync = session.sync().switches();
    std::this_thread::sleep_for(kCounted);
    state.counters["agent_wakeups"] = session.agent().switches() - agent;
    state.counters["sync_wakeups"] = session.sync().switches() - sync;
  }
  state.counters["agent_MB"] = session.agent().megabytes();
  state.counters["sync_MB"] = session.sync().megabytes();
  state.counters["agent_threads"] = session.agent().threads();
  state.counters["sync_threads"] = session.sync().threads();
  for (int i = 0; i < repositories; ++i)
    if (!session.notices(i)) {
      state.SkipWithError("not at rest but asleep: a change was not noticed");
      return;
    }
  state.SetLabel(session.conditions());
}
BENCHMARK(AtRest)
    ->ArgNames({"repositories", "files"})
    ->Args({1, 1'000})
    ->Args({100, 1'000})
    ->Args({100, 50'000})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace kelpie
