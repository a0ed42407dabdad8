// How long does the user wait for the reference picker of a huge repository? Asked of 50,000
// references, the most that a menu is expected to hold, once in one flat section and once in
// folders and remotes as real repositories have them. The floor is what no picker can do without:
// copying 50,000 titles into 50,000 plain items. The bar is 5 times the floor.
//
// Each round builds the floor's items and the picker, one after the other, so that both meet the
// same machine; "ratio" is the picker's time by the floor's. "intake_ms" is what taking in the tree
// costs, once for each message of the main application.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Menu.h"
#include "harness/Timing.h"
#include "refs/KPRefsManager.h"
#include "support/EventLog.h"
#include "support/FakeBundle.h"
#include "support/FakeLog.h"
#include "support/References.h"

namespace kelpie {
namespace {

using Nodes = KPTreeNode::Children;

constexpr int kReferences = 50'000;

// The head branch, which every menu of the actions below is compared with.
const ReferenceFields kHead = {.name = "main",
                               .fullName = "refs/heads/main",
                               .upstreamName = "refs/remotes/origin/main",
                               .oid = Bytes(20, 1),
                               .head = true};

std::shared_ptr<const KPTreeNode> reference(const std::string& kind, const std::string& name,
                                            std::int64_t tag) {
  return makeLeaf({.name = name,
                   .fullName = "refs/" + kind + "/" + name,
                   .upstreamName = "refs/remotes/origin/" + name,
                   .oid = Bytes(20, 1),
                   .tag = tag});
}

// All of them tags.
std::shared_ptr<const KPTreeNode> flatTree() {
  Nodes tags;
  for (int i = 0; i < kReferences; ++i)
    tags.push_back(reference("tags", "build-2024-11-" + std::to_string(i), i));
  return makeReferencesTree({{}, {}, std::move(tags)});
}

// Folders of ten references each, named as people name their branches.
Nodes folders(const std::string& kind, const std::string& prefix, int references) {
  Nodes nodes;
  for (int i = 0; i < references; i += 10) {
    const std::string folder = prefix + "team" + std::to_string(i / 10);
    Nodes leaves;
    for (int j = i; j < i + 10; ++j) {
      const std::string topic = j % 2 == 0 ? "" : "-keep-the-menu-open";
      leaves.push_back(reference(kind, folder + "/PROJ-" + std::to_string(j) + topic, j));
    }
    nodes.push_back(makeFolder(folder, std::move(leaves)));
  }
  return nodes;
}

// 20,000 local branches, 10,000 tags, 20,000 branches of two remotes.
std::shared_ptr<const KPTreeNode> nestedTree() {
  Nodes tags;
  for (int i = 0; i < 10'000; ++i) tags.push_back(reference("tags", "v1." + std::to_string(i), i));
  Nodes remotes;
  for (const std::string name : {"origin", "upstream"})
    remotes.push_back(makeFolder(name, folders("remotes", name + "/", 10'000)));
  return makeReferencesTree(
      {{}, folders("heads", "", 20'000), std::move(tags), std::move(remotes)});
}

// The titles of the items without a submenu, and a look at whether each is as it should be.
bool takeTitles(const Menu& menu, std::vector<std::string>& titles) {
  for (const MenuItem& item : menu.items) {
    if (item.submenu != nullptr) {
      if (!takeTitles(*item.submenu, titles)) return false;
      continue;
    }
    if (!item.enabled || !item.action) return false;
    titles.push_back(item.title);
  }
  return true;
}

// Memory once taken stays with the process: handing it back and taking it again after each round
// costs more than making the items, and hits the floor's one block and a picker's many differently.
void keepMemory() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

void ReferencePicker(benchmark::State& state, const std::string& action,
                     std::shared_ptr<const KPTreeNode> (*makeTree)()) {
  keepMemory();
  const FakeBundle bundle;
  EventLog events;
  FakeLog log(events);
  KPRefsManager manager(bundle, log);
  const Object tree(makeTree());
  const double taking = milliseconds();
  manager.setReferences(tree);
  state.counters["intake_ms"] = milliseconds() - taking;
  const auto head = makeReference(kHead);
  const auto makePicker = [&] {
    return manager.menuItemWithTitle("Pick", head.get(), action, {3, 1, 2}, false);
  };
  std::vector<std::string> titles;
  if (!takeTitles(*makePicker().submenu, titles) || titles.size() != kReferences) {
    state.SkipWithError("wrong items: the time means nothing");
    return;
  }

  std::vector<double> floorTimes;
  std::vector<double> pickerTimes;
  for (auto _ : state) {
    double start = milliseconds();
    Menu plain;
    plain.items.reserve(titles.size());
    for (const std::string& title : titles) plain.items.emplace_back(title);
    benchmark::DoNotOptimize(plain.items.data());
    floorTimes.push_back(milliseconds() - start);

    start = milliseconds();
    const MenuItem picker = makePicker();
    benchmark::DoNotOptimize(picker.submenu.get());
    pickerTimes.push_back(milliseconds() - start);
    state.SetIterationTime(pickerTimes.back() / 1000);
  }
  const double floor = median(std::move(floorTimes));
  const double picker = median(std::move(pickerTimes));
  state.counters["floor_ms"] = floor;
  state.counters["picker_ms"] = picker;
  state.counters["ratio"] = picker / floor;
}

BENCHMARK_CAPTURE(ReferencePicker, flat_push, "push:", flatTree)->UseManualTime();
BENCHMARK_CAPTURE(ReferencePicker, flat_fastForward, "fastForward:", flatTree)->UseManualTime();
BENCHMARK_CAPTURE(ReferencePicker, nested_merge, "merge:", nestedTree)->UseManualTime();
BENCHMARK_CAPTURE(ReferencePicker, nested_deleteBranches, "deleteBranches:", nestedTree)
    ->UseManualTime();
BENCHMARK_CAPTURE(ReferencePicker, nested_fastForward, "fastForward:", nestedTree)->UseManualTime();

}  // namespace
}  // namespace kelpie
