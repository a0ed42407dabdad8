// How long does the state of a folder take? Asked of the largest trees that we aim at, on the disk
// of this machine.
//
// One folder: 200,000 files, 1,000 of them changed. The floor is a bare walk of the same tree with
// one lstat() for each item; the bar is 0.8 times that, since a listing itself tells what an item
// is and which file it is.
//
// One window: a status message comes in while 200 folders side by side are on screen, with 10,000
// changed items in them. The floor is one bare walk of the folder that holds them; the bar is 3
// times that.
//
// Each round does the walk and the work, one after the other, so that both meet the same machine.
// "ratio" is by the walk with lstat(), "ratio_without_lstat" by a walk that only lists.

#include <dirent.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "StatusBench.h"

namespace kelpie {
namespace {

constexpr int kFolders = 200;
constexpr int kInnerFolders = 10;
constexpr int kFilesInAnInnerFolder = 100;
constexpr int kFiles = kFolders * kInnerFolders * kFilesInAnInnerFolder;

// 200 folders of 1,000 files each.
struct Tree {
  TemporaryFolder folder;
  std::string root = folder.folder("r");
  std::string top = folder.folder("r/w");
  std::vector<std::string> folders;
  std::vector<std::string> files;

  Tree() {
    folder.folder("r/.git");
    for (int i = 0; i < kFolders; ++i) {
      folders.push_back(top + "/package" + std::to_string(i));
      for (int j = 0; j < kInnerFolders; ++j) {
        const std::string inner = folders.back() + "/part" + std::to_string(j);
        std::filesystem::create_directories(inner);
        for (int k = 0; k < kFilesInAnInnerFolder; ++k) {
          files.push_back(inner + "/source_file_" + std::to_string(k) + ".cpp");
          TemporaryFolder::file(files.back());
        }
      }
    }
  }

  // Every so many-th file is new.
  std::shared_ptr<const Bytes> message(int changed) const {
    const LinuxFileSystem files_;
    Dictionary entries;
    Objects dirty;
    for (std::size_t i = 0; i < files.size();
         i += files.size() / static_cast<std::size_t>(changed)) {
      const URL url = URL::fileURLWithPath(files[i]);
      entries.set(Object(*url.identifier(files_)), Objects{0x0080, files[i]});
      dirty.emplace_back(url);
    }
    return statusMessage(std::move(entries), std::move(dirty));
  }
};

// Made once: it takes longer than all that is measured.
const Tree& tree() {
  static const Tree made;
  return made;
}

// The number of files below the folder.
std::size_t walk(const std::string& folder, bool withLstat) {
  DIR* const listing = ::opendir(folder.c_str());
  if (listing == nullptr) return 0;
  std::size_t files = 0;
  while (const dirent* const entry = ::readdir(listing)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string path = folder;
    path.append("/").append(name);
    struct stat status = {};
    bool isFolder = entry->d_type == DT_DIR;
    if (withLstat && ::lstat(path.c_str(), &status) == 0) isFolder = S_ISDIR(status.st_mode);
    files += isFolder ? walk(path, withLstat) : 1;
  }
  ::closedir(listing);
  return files;
}

// Measures `work` against the two walks. False when a walk finds another number of files.
template <class Work>
void measure(benchmark::State& state, const Work& work) {
  std::vector<double> floors;
  std::vector<double> listings;
  std::vector<double> times;
  for (auto _ : state) {
    double start = milliseconds();
    const std::size_t looked = walk(tree().top, true);
    floors.push_back(milliseconds() - start);
    start = milliseconds();
    const std::size_t listed = walk(tree().top, false);
    listings.push_back(milliseconds() - start);
    if (looked != kFiles || listed != kFiles) {
      state.SkipWithError("the walk missed files: the floor means nothing");
      return;
    }
    start = milliseconds();
    work();
    times.push_back(milliseconds() - start);
    state.SetIterationTime(times.back() / 1000);
  }
  const double floor = median(std::move(floors));
  const double listing = median(std::move(listings));
  const double time = median(std::move(times));
  state.counters["floor_ms"] = floor;
  state.counters["ms"] = time;
  state.counters["ratio"] = time / floor;
  state.counters["ratio_without_lstat"] = time / listing;
}

void OneFolder(benchmark::State& state) {
  BenchRepository bench(tree().root, true);
  bench.finder.watches = true;
  bench.takeIn(tree().message(1'000));
  const auto work = [&bench] {
    bench.repository->updateStatusOfDirectoryURL(URL::fileURLWithPath(tree().top));
    bench.fakes.runAll();
  };
  work();
  if (bench.finder.badges[tree().top] != "KPWorkdirNewBadge") {
    state.SkipWithError("wrong badge: the time means nothing");
    return;
  }
  measure(state, work);
}
BENCHMARK(OneFolder)->UseManualTime()->Unit(benchmark::kMillisecond);

void OneWindow(benchmark::State& state) {
  const auto message = tree().message(10'000);
  BenchRepository bench(tree().root, true);
  for (const std::string& folder : tree().folders) bench.show(folder);
  // What every window shows as well: the root, and with it all that the window's folders hold.
  if (state.range(0) != 0) bench.show(tree().root);
  bench.finder.watches = true;
  bench.takeIn(message);
  for (const std::string& folder : tree().folders) {
    if (bench.finder.badges[folder] == "KPWorkdirNewBadge") continue;
    state.SkipWithError("wrong badge: the time means nothing");
    return;
  }
  bench.finder.watches = false;
  measure(state, [&] { bench.takeIn(message); });
}
BENCHMARK(OneWindow)
    ->ArgName("root_shown")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelpie
