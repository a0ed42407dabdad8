// What does a folder of 100,000 items cost when it comes into view inside an open repository? Two
// questions: how long the file manager's own thread waits, of which the bar is 1 ms; and how much
// work the observer queue has, measured against what nobody can do without, one listing of the
// folder with one lstat() an item. The bar is 2 times that floor.
//
// The controller is the real one, on the real file system; the main application is a fake that
// listens and does nothing, the file manager one that counts. Each round takes the floor and the
// work, one after the other, so that both meet the same machine; "ratio" is the work's time by the
// floor's. `fresh`: the folder is new to the extension, so that every path is to be noted and every
// status recorded. `again`: it comes back into view.

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "harness/FloorRounds.h"
#include "harness/QuietFinder.h"
#include "platform/linux/LinuxFileSystem.h"
#include "settings/KPUserDefaults.h"
#include "support/FakePlatform.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr std::size_t kItems = 100'000;

// A repository with one huge folder.
class WorkingCopy {
 public:
  WorkingCopy() {
    folder_.addFolder("repository/.git");
    for (std::size_t item = 0; item < kItems; ++item)
      folder_.addFile("repository/results/measurement-" + std::to_string(item) + ".json");
  }

  std::string root() const { return folder_ / "repository"; }
  std::string folder() const { return folder_ / "repository/results"; }

 private:
  TemporaryFolder folder_;
};

// The extension with that repository open.
class Extension {
 public:
  explicit Extension(const WorkingCopy& copy)
      : platform_(fakes_.platformWith(finder_, *files_)),
        defaults_(platform_),
        installed_(files_),
        sync_(KPKelpieSync::create(platform_, defaults_)),
        folder_(URL::fileURLWithPath(copy.folder(), true)) {
    fakes_.messagePorts.setListening("group.org.kelpie.App", true);
    sync_->setApplicationPid(42);
    sync_->openRepositoryWithUrls(
        Objects{URL::fileURLWithPath(copy.root()), URL::fileURLWithPath(copy.root() + "/.git")});
    fakes_.runAll();
    finder_.count = 0;
  }

  void begin() { sync_->beginObservingDirectoryAtURL(folder_); }
  void work() { fakes_.runAll(); }
  // Badges since the last call.
  std::size_t takeBadges() { return std::exchange(finder_.count, 0); }

 private:
  QuietFinder finder_;
  FakePlatform fakes_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  Platform platform_;
  KPUserDefaults defaults_;
  ScopedFileSystem installed_;
  std::unique_ptr<KPKelpieSync> sync_;
  URL folder_;
};

// How long the file manager waits is a matter of the clock on the wall; work is measured in
// processor time.
double wallMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double, std::milli>(now).count();
}

// One listing with one lstat() an item. How many items there were.
std::size_t lookAtAll(const std::string& folder) {
  std::size_t count = 0;
  std::string path = folder + "/";
  const std::size_t length = path.size();
  DIR* const listing = ::opendir(folder.c_str());
  while (const dirent* const entry = ::readdir(listing)) {
    path.resize(length);
    path += entry->d_name;
    struct stat status = {};
    count += ::lstat(path.c_str(), &status) == 0 ? 1 : 0;
  }
  ::closedir(listing);
  return count - 2;  // "." and ".."
}

void FolderComesIntoView(benchmark::State& state, bool isFresh) {
  const WorkingCopy copy;
  auto extension = std::make_unique<Extension>(copy);
  std::vector<double> hostTimes;
  FloorRounds rounds(state);
  for (auto _ : state) {
    if (isFresh) {
      extension.reset();
      extension = std::make_unique<Extension>(copy);
    }
    std::size_t items = 0;
    rounds.floor([&] { items = lookAtAll(copy.folder()); });

    const double start = wallMilliseconds();
    extension->begin();
    hostTimes.push_back(wallMilliseconds() - start);

    rounds.work([&] { extension->work(); });
    if (items != kItems || extension->takeBadges() != kItems) {
      state.SkipWithError("not every item got its badge: the time means nothing");
      return;
    }
  }
  state.counters["host_ms"] = *std::max_element(hostTimes.begin(), hostTimes.end());
  rounds.report("work_ms");
}

BENCHMARK_CAPTURE(FolderComesIntoView, fresh, true)->UseManualTime()->Iterations(15);
BENCHMARK_CAPTURE(FolderComesIntoView, again, false)->UseManualTime()->Iterations(15);

}  // namespace
}  // namespace kelpie
