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
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "platform/linux/LinuxFileSystem.h"
#include "settings/KPUserDefaults.h"
#include "support/FakePlatform.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr std::size_t kItems = 100'000;

// Takes badges as fast as they can be taken.
class CountingFinder final : public FinderSyncController {
 public:
  std::size_t badges = 0;

  void setBadgeImage(const Image&, std::string_view, std::string_view) override {}
  void setBadgeIdentifier(std::string_view, const URL&) override { ++badges; }
  std::vector<URL> directoryURLs() const override { return {}; }
  void setDirectoryURLs(std::vector<URL>) override {}
  std::vector<URL> selectedItemURLs() const override { return {}; }
  std::optional<URL> targetedURL() const override { return std::nullopt; }
};

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
      : platform_{finder_,
                  system_.messagePorts,
                  system_.defaults,
                  system_.entitlements,
                  system_.applications,
                  system_.processMonitors,
                  system_.notifications,
                  *files_,
                  system_.queues,
                  system_.bundle,
                  system_.limits,
                  system_.log},
        defaults_(platform_),
        installed_(files_),
        sync_(KPKelpieSync::create(platform_, defaults_)),
        folder_(URL::fileURLWithPath(copy.folder(), true)) {
    system_.messagePorts.setListening("group.org.kelpie.App", true);
    sync_->setApplicationPid(42);
    sync_->openRepositoryWithUrls(
        Objects{URL::fileURLWithPath(copy.root()), URL::fileURLWithPath(copy.root() + "/.git")});
    system_.runAll();
    finder_.badges = 0;
  }

  void begin() { sync_->beginObservingDirectoryAtURL(folder_); }
  void work() { system_.runAll(); }
  // Badges since the last call.
  std::size_t takeBadges() { return std::exchange(finder_.badges, 0); }

 private:
  CountingFinder finder_;
  FakePlatform system_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  Platform platform_;
  KPUserDefaults defaults_;
  ScopedFileSystem installed_;
  std::unique_ptr<KPKelpieSync> sync_;
  URL folder_;
};

// How long the file manager waits is a matter of the clock on the wall; work is measured in
// processor time, the kernel's included, so that a round which other processes interrupt counts for
// what it did itself.
double wallMilliseconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double, std::milli>(now).count();
}

double workMilliseconds() {
  return 1000.0 * static_cast<double>(std::clock()) / static_cast<double>(CLOCKS_PER_SEC);
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

double median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

void FolderComesIntoView(benchmark::State& state, bool isFresh) {
  const WorkingCopy copy;
  auto extension = std::make_unique<Extension>(copy);
  std::vector<double> hostTimes;
  std::vector<double> floorTimes;
  std::vector<double> workTimes;
  for (auto _ : state) {
    if (isFresh) {
      extension.reset();
      extension = std::make_unique<Extension>(copy);
    }
    double start = workMilliseconds();
    const std::size_t items = lookAtAll(copy.folder());
    floorTimes.push_back(workMilliseconds() - start);

    start = wallMilliseconds();
    extension->begin();
    hostTimes.push_back(wallMilliseconds() - start);

    start = workMilliseconds();
    extension->work();
    workTimes.push_back(workMilliseconds() - start);
    state.SetIterationTime(workTimes.back() / 1000);
    if (items != kItems || extension->takeBadges() != kItems) {
      state.SkipWithError("not every item got its badge: the time means nothing");
      return;
    }
  }
  state.counters["host_ms"] = *std::max_element(hostTimes.begin(), hostTimes.end());
  state.counters["floor_ms"] = median(floorTimes);
  state.counters["work_ms"] = median(workTimes);
  state.counters["ratio"] = median(workTimes) / median(floorTimes);
}

BENCHMARK_CAPTURE(FolderComesIntoView, fresh, true)->UseManualTime()->Iterations(15);
BENCHMARK_CAPTURE(FolderComesIntoView, again, false)->UseManualTime()->Iterations(15);

}  // namespace
}  // namespace kelpie
