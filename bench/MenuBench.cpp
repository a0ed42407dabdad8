// How long does the file manager wait for a menu of a huge selection? Asked of 10,000 changed items
// in a repository with 10,000 references, with the items that every user has in his menus at first:
// among them fourteen submenus of references. The controller is the real one, on the real file
// system; the main application is a fake that listens and does nothing.
//
// The items are real files, in memory where there is such a file system; the references are four
// tenths local branches in folders of ten, four tenths their upstream branches, and tags.
//
// The floor is what no menu can do without: one lstat() for each selected item. The bar is 1.5
// times the floor. Each round takes the floor and the menu, one after the other, so that both meet
// the same machine; "ratio" is the menu's processor time by the floor's, each of the median round.
// First the menu has to count all items of the selection and to hold all references. "peak_MB" is
// what the rounds take on top of what was held before them.

#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "foundation/Dictionary.h"
#include "harness/BenchFiles.h"
#include "harness/FloorRounds.h"
#include "platform/linux/LinuxFileSystem.h"
#include "refs/KPRefsManager.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"
#include "support/FakePlatform.h"
#include "support/References.h"
#include "support/ScopedFileSystem.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr int kItems = 10'000;
constexpr int kReferences = 10'000;
constexpr StatusWord kModified = 0x0100;

KPTreeNode::Children folders(const std::string& kind, const std::string& prefix, int references) {
  constexpr int kPerFolder = 10;
  KPTreeNode::Children nodes;
  for (int i = 0; i < references; i += kPerFolder) {
    const std::string folder = prefix + "team" + std::to_string(i / kPerFolder);
    KPTreeNode::Children leaves;
    for (int j = i; j < i + kPerFolder; ++j) {
      const std::string name = folder + "/issue-" + std::to_string(j);
      leaves.push_back(makeLeaf({.name = name,
                                 .fullName = "refs/" + kind + "/" + name,
                                 .upstreamName = "refs/remotes/origin/" + name,
                                 .oid = Bytes(20, 1),
                                 .tag = j}));
    }
    nodes.push_back(makeFolder(folder, std::move(leaves)));
  }
  return nodes;
}

// Local branches, tags and the branches of one remote, as the references of real repositories are:
// in folders, but for the tags.
std::shared_ptr<const KPTreeNode> referencesTree() {
  constexpr int kBranches = kReferences * 2 / 5;
  KPTreeNode::Children tags;
  for (int i = 0; i < kReferences - 2 * kBranches; ++i)
    tags.push_back(makeLeaf({.name = "v1." + std::to_string(i), .oid = Bytes(20, 1), .tag = i}));
  return makeReferencesTree({{},
                             folders("heads", "", kBranches),
                             std::move(tags),
                             {makeFolder("origin", folders("remotes", "origin/", kBranches))},
                             {},
                             {}});
}

// The extension with open repositories, and a selection in the first of them.
class Extension {
 public:
  Extension(int folderCount, int repositories)
      : platform_(fakes_.platformWith(fakes_.finder, *files_)),
        defaults_(platform_),
        installed_(files_),
        sync_(KPKelpieSync::create(platform_, defaults_)) {
    sync_->setApplicationPid(42);
    for (int i = 0; i < repositories; ++i) open("repository" + std::to_string(i));
    makeItems("repository0", folderCount);
    const auto first = sync_->repositories().all()->front();
    first->setStatus(status());
    first->refsManager()->setReferences(std::shared_ptr<const Archivable>(referencesTree()));
    first->refsManager()->setHeadBranch(
        makeReference({.name = "team0/issue-0",
                       .fullName = "refs/heads/team0/issue-0",
                       .upstreamName = "refs/remotes/origin/team0/issue-0",
                       .oid = Bytes(20, 1),
                       .head = true}));
    std::vector<URL> urls;
    for (const std::string& path : paths_) urls.push_back(URL::fileURLWithPath(path));
    fakes_.finder.select(std::move(urls), std::nullopt);
  }

  const std::vector<std::string>& paths() const { return paths_; }
  std::optional<Menu> menu() { return sync_->menuForMenuKind(FIMenuKind::ContextualMenuForItems); }

 private:
  void open(const std::string& name) {
    const std::string root = folder_.addFolder(name);
    const std::string git = folder_.addFolder(name + "/.git");
    sync_->openRepositoryWithUrls(Objects{URL::fileURLWithPath(root), URL::fileURLWithPath(git)});
    fakes_.runAll();
  }

  void makeItems(const std::string& name, int folderCount) {
    for (int i = 0; i < kItems; ++i) {
      const std::string folder =
          folder_.addFolder(name + "/source" + std::to_string(i % folderCount));
      paths_.push_back(folder + "/file-" + std::to_string(i) + ".cpp");
      touch(paths_.back());
    }
  }

  Object status() const {
    Dictionary status;
    for (const std::string& path : paths_) {
      const auto identifier = URL::fileURLWithPath(path).identifier(*files_);
      status.set(Object::orNil(identifier), Objects{kModified, Object::path(path)});
    }
    return status;
  }

  TemporaryFolder folder_{roomyFolder()};
  FakePlatform fakes_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  Platform platform_;
  KPUserDefaults defaults_;
  ScopedFileSystem installed_;
  std::unique_ptr<KPKelpieSync> sync_;
  std::vector<std::string> paths_;
};

// How many items a menu has, submenus included.
std::size_t countItems(const Menu& menu) {
  std::size_t count = menu.items.size();
  for (const MenuItem& item : menu.items)
    if (item.submenu != nullptr) count += countItems(*item.submenu);
  return count;
}

bool isWhole(const std::optional<Menu>& menu) {
  if (!menu) return false;
  const std::string stage = "Stage " + std::to_string(kItems) + " Files";
  bool isThere = false;
  for (const MenuItem& item : menu->items) isThere = isThere || item.title == stage;
  return isThere && countItems(*menu) > std::size_t{kReferences} * 8;
}

void MenuOfSelection(benchmark::State& state, int folderCount, int repositories) {
  Extension extension(folderCount, repositories);
  if (!isWhole(extension.menu())) {
    state.SkipWithError("wrong menu: the time means nothing");
    return;
  }
  FloorRounds rounds(state);
  for (auto _ : state) {
    rounds.floor([&] {
      struct stat status = {};
      for (const std::string& path : extension.paths())
        benchmark::DoNotOptimize(::lstat(path.c_str(), &status));
    });
    std::optional<Menu> menu;
    rounds.work([&] { menu = extension.menu(); });
  }
  rounds.report("menu_ms");
}

// A selection in one folder is the usual one; search results lie in many; many repositories are
// open at people's who have many.
BENCHMARK_CAPTURE(MenuOfSelection, one_folder, 1, 1)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(MenuOfSelection, thousand_folders, 1'000, 1)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(MenuOfSelection, hundred_repositories, 1, 100)
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelpie
