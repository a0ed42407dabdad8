// How long does one full status hold the update queue, and what does it leave in memory? Asked of
// 100,000 entries, the largest message that we aim at, with 10,000 items on screen, half of which
// the message mentions; once with few changed items and once with all of them in the list.
//
// The floor is what no intake can do without: one lstat() for each item on screen, and reading each
// entry of the archive once. The bar is 2 times the floor. Each round does the floor's work and the
// intake, one after the other, so that both meet the same machine; "ratio" is the intake's time by
// the floor's.

#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "StatusBench.h"
#include "foundation/ObjectView.h"
#include "status/KPBadge.h"

namespace kelpie {
namespace {

constexpr int kEntries = 100'000;
constexpr int kShown = 10'000;
constexpr int kShownInAFolder = 1'000;
constexpr int kWords[] = {0x0100, 0x0080, 0x0002, 0x0001, 0x0200, 0x0102};

int wordOf(int index) { return kWords[index % 6]; }

struct Screen {
  TemporaryFolder folder;
  std::string root = folder.folder("r");
  std::vector<std::string> shown;  // every other one has an entry

  Screen() {
    folder.folder("r/.git");
    for (int i = 0; i < kShown; ++i) {
      const std::string name = "r/src/module" + std::to_string(i / kShownInAFolder);
      if (i % kShownInAFolder == 0) folder.folder(name);
      shown.push_back(folder.path() + "/" + name + "/file" + std::to_string(i) + ".cpp");
      TemporaryFolder::file(shown.back());
    }
  }

  // Entries for half of what is shown and for as many other files as make up the number.
  std::shared_ptr<const Bytes> message(int dirtyUrls) const {
    const LinuxFileSystem files;
    Dictionary entries;
    Objects dirty;
    for (int i = 0; i < kEntries; ++i) {
      const bool isShown = i < kShown / 2;
      const std::string path =
          isShown ? shown[static_cast<std::size_t>(2 * i)]
                  : root + "/src/other" + std::to_string(i / 100) + "/file" + std::to_string(i);
      const URL url = URL::fileURLWithPath(path);
      entries.set(isShown ? Object(*url.identifier(files)) : otherIdentifier(i),
                  Objects{wordOf(i), path});
      if (i < dirtyUrls) dirty.emplace_back(url);
    }
    return statusMessage(std::move(entries), std::move(dirty));
  }

 private:
  static Object otherIdentifier(int index) {
    Bytes bytes(16, 0xEE);
    for (std::size_t i = 0; i < 4; ++i)
      bytes[8 + i] = static_cast<std::uint8_t>(static_cast<unsigned>(index) >> (8 * i));
    return Object(std::move(bytes));
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
  const Screen screen;
  const auto message = screen.message(static_cast<int>(state.range(0)));
  BenchRepository bench(screen.root, false);
  for (const std::string& path : screen.shown) bench.show(path);
  bench.finder.watches = true;
  bench.takeIn(message);
  bench.finder.watches = false;
  if (!badgesAreRight(bench, screen)) {
    state.SkipWithError("wrong badges: the time means nothing");
    return;
  }

  std::vector<double> floorTimes;
  std::vector<double> times;
  for (auto _ : state) {
    double start = milliseconds();
    struct stat status = {};
    std::size_t found = 0;
    for (const std::string& path : screen.shown) found += ::lstat(path.c_str(), &status) == 0;
    benchmark::DoNotOptimize(found += readOnce(message));
    floorTimes.push_back(milliseconds() - start);

    start = milliseconds();
    bench.takeIn(message);
    times.push_back(milliseconds() - start);
    state.SetIterationTime(times.back() / 1000);
  }
  const double floor = median(std::move(floorTimes));
  const double time = median(std::move(times));
  state.counters["floor_ms"] = floor;
  state.counters["intake_ms"] = time;
  state.counters["ratio"] = time / floor;
}
BENCHMARK(StatusIntake)->ArgName("dirty")->Arg(1'000)->Arg(kEntries)->UseManualTime();

std::size_t bytesInUse() {
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

// What a status leaves behind, an entry. The bar is 64 bytes beyond the path; paths are kept of the
// changed items alone, and counted here as well.
void StatusMemory(benchmark::State& state) {
  const Screen screen;
  const auto message = screen.message(static_cast<int>(state.range(0)));
  double perEntry = 0;
  for (auto _ : state) {
    BenchRepository bench(screen.root, false);
    const std::size_t before = bytesInUse();
    bench.takeIn(message);
    perEntry = static_cast<double>(bytesInUse() - before) / kEntries;
    state.SetIterationTime(1);
  }
  state.counters["bytes_per_entry"] = perEntry;
}
BENCHMARK(StatusMemory)->ArgName("dirty")->Arg(0)->Arg(kEntries)->Iterations(1)->UseManualTime();

}  // namespace
}  // namespace kelpie
