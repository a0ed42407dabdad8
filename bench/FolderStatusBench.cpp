// How long does the state of a folder take? Asked of trees of 1,000 to 1,000,000 files, which are
// real, empty, and lie in memory where there is such a file system: a hundred in each folder, ten
// such folders in each folder of the window. The file manager, the main application and the queues
// are fakes; all tasks run on one thread.
//
// One folder: the one that holds the whole tree, with 5,000 changed files in it (a tenth of the
// files of a smaller tree), which lie evenly among the others. The floor is a walk of the same tree
// by its directory entries alone, without a look at any item; the bar is 1.2 times that.
//
// One window: a status message comes in while the folders side by side that make up the tree are
// on screen, once with the folder that holds them all and once without. The floor is one such walk
// of the tree; the bar is 1.4 times that.
//
// Each round does the walk and the work, one after the other, so that both meet the same machine.
// "ratio" is by that walk; "ratio_with_lstat" by one that looks at every item, which shows what the
// listings alone save. The walks count the files. Before anything is timed each folder on screen
// has to have its badge, with the changed files in every other folder: new ones where they are, and
// none elsewhere. "peak_MB" is what the rounds take on top of what was held before them.

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "harness/BenchFiles.h"
#include "harness/BenchRepository.h"
#include "harness/FloorRounds.h"
#include "harness/StatusMessages.h"
#include "platform/linux/LinuxFileSystem.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr std::size_t kInnerFolders = 10;
constexpr std::size_t kFilesInAnInnerFolder = 100;
constexpr std::size_t kFilesInAFolder = kInnerFolders * kFilesInAnInnerFolder;
constexpr std::size_t kMostChanged = 5'000;
constexpr const char* kNew = "KPWorkdirNewBadge";
constexpr const char* kCurrent = "KPCurrentBadge";

// Folders of 1,000 files each. Every other one of them has changed files, unless it is the only
// one.
struct Tree {
  TemporaryFolder folder{roomyFolder()};
  std::string root = folder.addFolder("r");
  std::string top = folder.addFolder("r/w");
  std::vector<std::string> folders;
  std::vector<std::string> files;

  explicit Tree(std::size_t count) {
    folder.addFolder("r/.git");
    for (std::size_t i = 0; i < count / kFilesInAFolder; ++i) {
      folders.push_back(top + "/package" + std::to_string(i));
      for (std::size_t j = 0; j < kInnerFolders; ++j) {
        const std::string inner = folders.back() + "/part" + std::to_string(j);
        std::filesystem::create_directories(inner);
        for (std::size_t k = 0; k < kFilesInAnInnerFolder; ++k) {
          files.push_back(inner + "/source_file_" + std::to_string(k) + ".cpp");
          touch(files.back());
        }
      }
    }
  }

  // The badge that the folder of the window is to have.
  const char* expected(std::size_t index) const { return index % 2 == 0 ? kNew : kCurrent; }

  std::shared_ptr<const Bytes> message() const {
    const LinuxFileSystem files_;
    const std::size_t changed = std::min(kMostChanged, files.size() / 10);
    const std::size_t changedFolders = (folders.size() + 1) / 2;
    Dictionary entries;
    Objects dirty;
    for (std::size_t i = 0; i < changed; ++i) {
      // In every other folder, as many in each as in any other, far from each other.
      const std::size_t turn = i / changedFolders;
      const std::size_t turns = (changed + changedFolders - 1) / changedFolders;
      const std::string& path =
          files[i % changedFolders * 2 * kFilesInAFolder + turn * (kFilesInAFolder / turns)];
      const URL url = URL::fileURLWithPath(path);
      entries.set(Object(*url.identifier(files_)), Objects{0x0080, path});
      dirty.emplace_back(url);
    }
    return archived(statusInfo(std::move(entries), std::move(dirty)));
  }
};

// The tree of the size that was asked for last: making one takes longer than all that is measured.
const Tree& tree(std::size_t files) {
  static std::unique_ptr<const Tree> made;
  if (made == nullptr || made->files.size() != files) {
    made.reset();
    made = std::make_unique<const Tree>(files);
  }
  return *made;
}

// The number of files below the folder.
std::size_t walk(const std::string& folder, bool withLstat) {
  DIR* const listing = ::opendir(folder.c_str());
  if (listing == nullptr) return 0;
  std::size_t files = 0;
  while (const dirent* const entry = ::readdir(listing)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    bool isFolder = entry->d_type == DT_DIR;
    if (!isFolder && !withLstat) {
      ++files;
      continue;
    }
    std::string path = folder;
    path.append("/").append(name);
    struct stat status = {};
    if (withLstat && ::lstat(path.c_str(), &status) == 0) isFolder = S_ISDIR(status.st_mode);
    files += isFolder ? walk(path, withLstat) : 1;
  }
  ::closedir(listing);
  return files;
}

// Measures `work` against the two walks. Gives up when a walk finds another number of files.
template <class Work>
void measure(benchmark::State& state, const Tree& tree, const Work& work) {
  FloorRounds rounds(state);
  std::vector<double> looks;
  for (auto _ : state) {
    std::size_t listed = 0;
    rounds.floor([&] { listed = walk(tree.top, false); });
    rounds.work(work);
    const double start = milliseconds();
    const std::size_t looked = walk(tree.top, true);
    looks.push_back(milliseconds() - start);
    if (looked != tree.files.size() || listed != tree.files.size()) {
      state.SkipWithError("the walk missed files: the floor means nothing");
      return;
    }
  }
  rounds.report("ms");
  state.counters["ratio_with_lstat"] = rounds.medianTime() / median(std::move(looks));
}

// Whether each of the window's folders has the badge that it is to have.
bool badgesAreRight(BenchRepository& bench, const Tree& tree) {
  for (std::size_t i = 0; i < tree.folders.size(); ++i)
    if (bench.finder.badges[tree.folders[i]] != tree.expected(i)) return false;
  return true;
}

void OneFolder(benchmark::State& state) {
  const Tree& made = tree(static_cast<std::size_t>(state.range(0)));
  BenchRepository bench(made.root, true);
  bench.finder.watches = true;
  bench.takeIn(made.message());
  const auto ask = [&bench](const std::string& folder) {
    bench.repository->updateStatusOfDirectoryURL(URL::fileURLWithPath(folder));
    bench.fakes.runAll();
  };
  ask(made.top);
  for (const std::string& folder : made.folders) ask(folder);
  if (bench.finder.badges[made.top] != kNew || !badgesAreRight(bench, made)) {
    state.SkipWithError("wrong badge: the time means nothing");
    return;
  }
  measure(state, made, [&] { ask(made.top); });
}

void OneWindow(benchmark::State& state) {
  const Tree& made = tree(static_cast<std::size_t>(state.range(0)));
  const auto message = made.message();
  BenchRepository bench(made.root, true);
  for (const std::string& folder : made.folders) bench.show(folder);
  // What every window shows as well: the root, and with it all that the window's folders hold.
  if (state.range(1) != 0) bench.show(made.root);
  bench.finder.watches = true;
  bench.takeIn(message);
  if (!badgesAreRight(bench, made)) {
    state.SkipWithError("wrong badge: the time means nothing");
    return;
  }
  bench.finder.watches = false;
  measure(state, made, [&] { bench.takeIn(message); });
}

// Size by size, so that each tree is made once.
const bool registered = [] {
  for (const int files : {1'000, 50'000, 400'000, 1'000'000}) {
    const int rounds = files < 100'000 ? 20 : 5;
    benchmark::RegisterBenchmark("OneFolder", OneFolder)
        ->ArgName("files")
        ->Arg(files)
        ->Iterations(rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("OneWindow", OneWindow)
        ->ArgNames({"files", "root_shown"})
        ->Args({files, 0})
        ->Args({files, 1})
        ->Iterations(rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace
}  // namespace kelpie
