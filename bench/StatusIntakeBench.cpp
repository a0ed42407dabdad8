// How long does one full status hold the update queue, and what does it leave in memory? Asked of
// statuses of 1,000 to 1,000,000 entries, with 10,000 items on screen (1,000 where there are no
// more entries), half of which the message mentions; once with few changed items and once with all
// of them in the list.
//
// The items on screen are real files, a thousand in each folder, in memory where that can be. The
// other entries are of files that nobody looks at and that are not there, a hundred in each folder.
// Six status words take turns. File manager, main application and queues are fakes; all tasks run
// on one thread.
//
// The floor is what no intake can do without: one lstat() for each item on screen, and reading each
// entry of the archive once. The bar is 1.2 times the floor. Each round does the floor's work and
// the intake, one after the other, so that both meet the same machine; "ratio" is the intake's time
// by the floor's. Before that, the badge of every item on screen is compared with the status word
// that the message was made with. "peak_MB" is the memory that the rounds take on top of the
// message and of what was left by the first intake.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "archive/KeyedUnarchiver.h"
#include "foundation/ObjectView.h"
#include "harness/BenchFiles.h"
#include "harness/BenchRepository.h"
#include "harness/FloorRounds.h"
#include "harness/StatusMessages.h"
#include "platform/linux/LinuxFileSystem.h"
#include "status/KPBadge.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr int kEntriesForMemory = 100'000;
constexpr int kRounds = 7;
constexpr int kMostShown = 10'000;
constexpr int kShownInAFolder = 1'000;
constexpr int kWords[] = {0x0100, 0x0080, 0x0002, 0x0001, 0x0200, 0x0102};

int wordOf(int index) { return kWords[index % 6]; }

struct Screen {
  int entries;
  int count = std::min(kMostShown, entries);  // of the items on screen
  TemporaryFolder folder{roomyFolder()};
  std::string root = folder.addFolder("r");
  std::vector<std::string> shown;  // every other one has an entry

  explicit Screen(int entryCount) : entries(entryCount) {
    folder.addFolder("r/.git");
    for (int i = 0; i < count; ++i) {
      const std::string name = "r/src/module" + std::to_string(i / kShownInAFolder);
      if (i % kShownInAFolder == 0) folder.addFolder(name);
      shown.push_back(folder.path() + "/" + name + "/file" + std::to_string(i) + ".cpp");
      touch(shown.back());
    }
  }

  // Entries for half of what is shown and for as many other files as make up the number.
  std::shared_ptr<const Bytes> message(int dirtyUrls) const {
    const LinuxFileSystem files;
    Dictionary status;
    Objects dirty;
    for (int i = 0; i < entries; ++i) {
      const bool isShown = i < count / 2;
      const std::string path =
          isShown ? shown[static_cast<std::size_t>(2 * i)]
                  : root + "/src/other" + std::to_string(i / 100) + "/file" + std::to_string(i);
      const URL url = URL::fileURLWithPath(path);
      status.set(isShown ? Object(*url.identifier(files)) : identifierOfNoFile(i),
                 Objects{wordOf(i), path});
      if (i < dirtyUrls) dirty.emplace_back(url);
    }
    return archived(statusInfo(std::move(status), std::move(dirty)));
  }
};

// What reading every entry once costs, and something to show for it.
std::size_t readOnce(const std::shared_ptr<const Bytes>& message) {
  const Object info = KeyedUnarchiver::open(message);
  const ObjectView view(info);
  std::size_t sum = 0;
  view["KPRepositoryStatus"].forEachEntry([&sum](ObjectView key, ObjectView entry) {
    sum += key.data().value_or(ByteView()).size() + entry.at(0).unsignedShortValue();
    return true;
  });
  view["KPStatusDirtyURLs"].forEachElement([&sum](ObjectView url) {
    sum += url.url()->path().size();
    return true;
  });
  return sum;
}

bool badgesAreRight(const BenchRepository& bench, const Screen& screen) {
  for (std::size_t i = 0; i < screen.shown.size(); ++i) {
    const auto word = static_cast<StatusWord>(i % 2 == 0 ? wordOf(static_cast<int>(i) / 2) : 0);
    const auto found = bench.finder.badges.find(screen.shown[i]);
    if (found == bench.finder.badges.end() ||
        found->second != KPRepository::badgeIdentifierForStatus(word))
      return false;
  }
  return true;
}

void StatusIntake(benchmark::State& state) {
  const Screen screen(static_cast<int>(state.range(0)));
  const auto message = screen.message(static_cast<int>(state.range(1)));
  BenchRepository bench(screen.root, false);
  for (const std::string& path : screen.shown) bench.show(path);
  bench.finder.watches = true;
  bench.takeIn(message);
  bench.finder.watches = false;
  if (!badgesAreRight(bench, screen)) {
    state.SkipWithError("wrong badges: the time means nothing");
    return;
  }

  FloorRounds rounds(state);
  for (auto _ : state) {
    rounds.floor([&] {
      struct stat status = {};
      std::size_t found = 0;
      for (const std::string& path : screen.shown) found += ::lstat(path.c_str(), &status) == 0;
      benchmark::DoNotOptimize(found += readOnce(message));
    });
    rounds.work([&] { bench.takeIn(message); });
  }
  rounds.report("intake_ms");
}
BENCHMARK(StatusIntake)
    ->ArgNames({"entries", "dirty"})
    ->Args({1'000, 1'000})
    ->Args({50'000, 1'000})
    ->Args({100'000, 1'000})
    ->Args({100'000, 100'000})
    ->Args({400'000, 1'000})
    ->Args({400'000, 400'000})
    ->Args({1'000'000, 1'000})
    ->Args({1'000'000, 1'000'000})
    ->Iterations(kRounds)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

std::size_t bytesInUse() {
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

// What a status leaves behind, an entry. The bar is 64 bytes beyond the path; paths are kept of the
// changed items alone, and counted here as well.
void StatusMemory(benchmark::State& state) {
  const Screen screen(kEntriesForMemory);
  const auto message = screen.message(static_cast<int>(state.range(0)));
  double perEntry = 0;
  for (auto _ : state) {
    BenchRepository bench(screen.root, false);
    const std::size_t before = bytesInUse();
    bench.takeIn(message);
    perEntry = static_cast<double>(bytesInUse() - before) / kEntriesForMemory;
    state.SetIterationTime(1);
  }
  state.counters["bytes_per_entry"] = perEntry;
}
BENCHMARK(StatusMemory)
    ->ArgName("dirty")
    ->Arg(0)
    ->Arg(kEntriesForMemory)
    ->Iterations(1)
    ->UseManualTime();

}  // namespace
}  // namespace kelpie
