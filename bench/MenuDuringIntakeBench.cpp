// How long does the file manager wait for a menu while a message of the main application is taken
// in? A menu is asked for every half millisecond, from before the message comes until nothing of it
// is left, as tasks of the main queue: so a wait includes what the main queue does with the
// message. The controller is the real one and its queues run by themselves, each on a thread.
//
// MenuDuringIntake: messages of three megabytes that say little very often, each of those that the
// tests know (see tests/support/HostileMessages.cpp). Files are fakes; the menu is the toolbar's.
//
// LargeStatus: a status of up to 1,000,000 changed items, a hundred in each folder, with 500 items
// on screen, which are real files and have every other one an entry. The host link is the real one,
// from the text of a line to the text of its answer; the menu is that of one selected item. After
// that, each item on screen has to have been told its badge. "times_message" is the message and the
// most memory that was held on top of it and of what was there before, by the message's size.
//
// The bars are 50 ms for the longest wait and 2 for "times_message". "quiet_ms" is the longest wait
// without a message, of as many menus as there were with it (1,000 at the most): what this machine
// is worth at the moment.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "foundation/Dictionary.h"
#include "foundation/URL.h"
#include "harness/BenchFiles.h"
#include "harness/HostedExtension.h"
#include "harness/PeakMemory.h"
#include "harness/StatusMessages.h"
#include "platform/FIMenuKind.h"
#include "platform/linux/LinuxFileSystem.h"
#include "protocol/BadgeIdentifiers.h"
#include "protocol/MessageKeys.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"
#include "support/FakePlatform.h"
#include "support/HostileMessages.h"
#include "support/TemporaryFolder.h"
#include "support/ThreadedQueues.h"

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::size_t kBytes = 3'000'000;
constexpr double kBar = 50;
constexpr std::chrono::microseconds kPause(500);
constexpr std::string_view kRoot = "/home/repo";
constexpr std::size_t kFolders = 16;
constexpr std::size_t kMostQuietMenus = 1'000;

// The operating system of a controller whose queues run by themselves, each on a thread, and whose
// main application listens and does nothing.
class LiveSystem {
 public:
  LiveSystem() {
    fakes.groupDefaults().changeFromOutside("KPApplicationVersion", "1");
    fakes.groupDefaults().changeFromOutside("KPShowFolderGitStatus", true);
    fakes.applications.running["org.kelpie.Kelpie"] = {700};
    fakes.messagePorts.setListening("group.org.kelpie.App", true);
  }

  // Returns when the main queue has done the task.
  template <class Task>
  void onMainQueue(const Task& task) {
    std::promise<void> done;
    queues.mainQueue()->post([&] {
      task();
      done.set_value();
    });
    done.get_future().wait();
  }

  // Has the controller take in the message. Ready when the update queue of its repository has
  // nothing left of it, and of what that has given it in turn.
  std::future<void> takeIn(KPKelpieSync& controller, std::shared_ptr<const Bytes> message) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> end = done->get_future();
    queues.mainQueue()->post([&controller, done, message = std::move(message)]() mutable {
      controller.handleSelectorMessage(std::move(message));
      const std::shared_ptr<SerialQueue> queue =
          controller.repositories().all()->front()->updateQueue();
      queue->post([queue, done] {
        queue->post([queue, done] { queue->post([done] { done->set_value(); }); });
      });
    });
    return end;
  }

  ThreadedQueues queues;
  FakePlatform fakes{queues};
};

// A controller with one open repository and items on screen.
class LiveController {
 public:
  LiveController() {
    FakePlatform& fakes = system_.fakes;
    const URL root = fakes.files->addFolder(kRoot);
    const URL git = fakes.files->addFolder(std::string(kRoot) + "/.git");
    fakes.finder.select({}, root);
    system_.onMainQueue([&] {
      KPKelpieSync::initialize(fakes.platform());
      controller_ = KPKelpieSync::create(fakes.platform(), defaults_);
      controller_->openRepositoryWithUrls(Objects{root, git});
    });
    system_.queues.waitUntilIdle();
    for (std::size_t index = 0; index < kFolders; ++index) {
      const std::string path = std::string(kRoot) + "/d" + std::to_string(index);
      shown_.push_back(identifierOf(fakes.files->addFolder(path)));
      controller_->requestBadgeIdentifierForURL(URL::fileURLWithPath(path));
      controller_->requestBadgeIdentifierForURL(fakes.files->addFile(path + "/a"));
    }
    system_.queues.waitUntilIdle();
  }
  ~LiveController() {
    system_.onMainQueue([this] { controller_.reset(); });
    system_.queues.waitUntilIdle();
  }
  LiveController(const LiveController&) = delete;
  LiveController& operator=(const LiveController&) = delete;

  Bytes message(const HostileCase& hostile) const {
    return hostile.make(kBytes, identifierOf(URL::fileURLWithPath(kRoot)), shown_);
  }

  std::future<void> takeIn(std::shared_ptr<const Bytes> message) {
    return system_.takeIn(*controller_, std::move(message));
  }

  // How long a menu takes to come. Absent when there is nothing in it.
  std::optional<Milliseconds> waitForMenu() {
    const Clock::time_point asked = Clock::now();
    std::optional<Menu> menu;
    system_.onMainQueue([&] { menu = controller_->menuForMenuKind(FIMenuKind::ToolbarItemMenu); });
    if (!menu || menu->items.empty()) return std::nullopt;
    return Clock::now() - asked;
  }

 private:
  static Bytes identifierOf(const URL& url) {
    const std::optional<FileIdentifier> identifier = url.identifier();
    const ByteView bytes = identifier->bytes();
    return {bytes.begin(), bytes.end()};
  }

  LiveSystem system_;
  KPUserDefaults defaults_{system_.fakes.platform()};
  std::unique_ptr<KPKelpieSync> controller_;
  std::vector<Bytes> shown_;
};

// What somebody waits who asks for a menu again and again, each wait in milliseconds.
struct Waits {
  double longest = 0;  // while the message was taken in
  std::size_t menus = 0;
  double intake = 0;  // how long that was
  double quiet = 0;   // the longest of as many, but at most kMostQuietMenus, after it
  double growth = 0;  // bytes, the most that was held on top of the message and what was there

  void report(benchmark::State& state) const {
    state.counters["longest_ms"] = longest;
    state.counters["bar_ms"] = kBar;
    state.counters["menus"] = static_cast<double>(menus);
    state.counters["intake_ms"] = intake;
    state.counters["quiet_ms"] = quiet;
  }
};

// Absent when a menu had nothing in it.
template <class Live>
std::optional<Waits> waitsDuring(Live& live, std::shared_ptr<const Bytes> message) {
  Waits waits;
  const auto ask = [&live](double& longest) {
    const std::optional<Milliseconds> wait = live.waitForMenu();
    if (wait) longest = std::max(longest, wait->count());
    std::this_thread::sleep_for(kPause);
    return wait.has_value();
  };
  bool isAnswered = ask(waits.longest);
  const PeakMemory peak;
  const Clock::time_point begin = Clock::now();
  const std::future<void> end = live.takeIn(std::move(message));
  for (waits.menus = 1;
       isAnswered && end.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
       ++waits.menus)
    isAnswered = ask(waits.longest);
  waits.intake = Milliseconds(Clock::now() - begin).count();
  waits.growth = peak.growth();
  for (std::size_t i = 0; isAnswered && i < std::min(waits.menus, kMostQuietMenus); ++i)
    isAnswered = ask(waits.quiet);
  if (!isAnswered) return std::nullopt;
  return waits;
}

double longestOverAll = 0;

void MenuDuringIntake(benchmark::State& state) {
  const HostileCase& hostile = hostileCases()[static_cast<std::size_t>(state.range(0))];
  for (auto _ : state) {
    LiveController live;
    const auto waits = waitsDuring(live, std::make_shared<const Bytes>(live.message(hostile)));
    if (!waits) {
      state.SkipWithError("a menu without items: the waits mean nothing");
      return;
    }
    longestOverAll = std::max(longestOverAll, waits->longest);
    waits->report(state);
    state.counters["longest_so_far_ms"] = longestOverAll;
    state.SetLabel(std::string(hostile.name));
  }
}
BENCHMARK(MenuDuringIntake)
    ->DenseRange(0, static_cast<int>(hostileCases().size()) - 1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

using nlohmann::json;

constexpr int kShown = 500;
constexpr StatusWord kModified = 0x0100;

// The extension behind the host link, with one host that shows a folder of 500 items.
class LiveHostLink {
 public:
  LiveHostLink() {
    folder_.addFolder("r/.git");
    json urls = json::array();
    for (int i = 0; i < kShown; ++i) {
      paths_.push_back(shownFolder_ + "/file" + std::to_string(i) + ".cpp");
      touch(paths_.back());
      urls.push_back(URL::fileURLWithPath(paths_.back()).absoluteString());
    }
    system_.onMainQueue([this] {
      extension_ = std::make_unique<HostedExtension>(system_.fakes, files_);
      extension_->open(root_);
    });
    system_.queues.waitUntilIdle();
    const std::string shown = URL::fileURLWithPath(shownFolder_, true).absoluteString();
    say(json{{"type", "beginObserving"}, {"url", shown}});
    say(json{{"type", "requestBadges"}, {"urls", std::move(urls)}});
    const std::string selected = URL::fileURLWithPath(paths_.front()).absoluteString();
    question_ =
        json{
            {"type", "menu"}, {"id", 1}, {"kind", 0}, {"selected", {selected}}, {"targeted", shown}}
            .dump();
  }
  ~LiveHostLink() {
    system_.onMainQueue([this] { extension_.reset(); });
    system_.queues.waitUntilIdle();
  }
  LiveHostLink(const LiveHostLink&) = delete;
  LiveHostLink& operator=(const LiveHostLink&) = delete;

  // A status of so many changed items. Every other item on screen is among them.
  std::shared_ptr<const Bytes> message(int entries) const {
    Dictionary status;
    Objects dirty;
    for (int i = 0; i < entries; ++i) {
      const std::string path = i < kShown / 2 ? paths_[static_cast<std::size_t>(2 * i)]
                                              : root_ + "/source/module" + std::to_string(i / 100) +
                                                    "/file" + std::to_string(i) + ".cpp";
      const URL url = URL::fileURLWithPath(path);
      status.set(i < kShown / 2 ? Object(*url.identifier(*files_)) : identifierOfNoFile(i),
                 Objects{kModified, path});
      dirty.emplace_back(url);
    }
    const URL root = URL::fileURLWithPath(root_);
    return archived(
        Dictionary{{kMessageSelectorKey, "setStatusInfo:"},
                   {kMessageTargetKey, Object(*root.identifier(*files_))},
                   {kMessageArgumentKey, statusInfo(std::move(status), std::move(dirty))}});
  }

  std::future<void> takeIn(std::shared_ptr<const Bytes> message) {
    return system_.takeIn(extension_->sync(), std::move(message));
  }

  // How long a menu takes to come. Absent when there is nothing in it.
  std::optional<Milliseconds> waitForMenu() {
    const Clock::time_point asked = Clock::now();
    std::vector<std::string> lines;
    system_.onMainQueue([&] {
      extension_->handleLine(question_);
      lines = extension_->takeAnswers();
    });
    const Milliseconds wait = Clock::now() - asked;
    note(lines);
    const json line = json::parse(lines.back());
    if (line["type"] != "menu" || line["menu"].is_null() || line["menu"]["items"].empty())
      return std::nullopt;
    return wait;
  }

  // Whether each item on screen has been told its badge.
  bool badgesAreRight() {
    system_.queues.waitUntilIdle();
    system_.onMainQueue([this] { note(extension_->takeAnswers()); });
    for (std::size_t i = 0; i < paths_.size(); ++i) {
      const auto told = badges_.find(URL::fileURLWithPath(paths_[i]).absoluteString());
      const auto expected = i % 2 == 0 ? badge::kWorkdirModified : badge::kCurrent;
      if (told == badges_.end() || told->second != expected) return false;
    }
    return true;
  }

 private:
  void say(const json& line) {
    system_.onMainQueue([&] { extension_->handleLine(line.dump()); });
    system_.queues.waitUntilIdle();
  }
  // Keeps the badges of the lines that came.
  void note(const std::vector<std::string>& lines) {
    for (const std::string& text : lines) {
      const json line = json::parse(text);
      if (line["type"] != "badges") continue;
      for (const json& pair : line["badges"]) badges_[pair[0]] = pair[1];
    }
  }

  TemporaryFolder folder_{roomyFolder()};
  std::string root_ = folder_.addFolder("r");
  std::string shownFolder_ = folder_.addFolder("r/shown");
  std::vector<std::string> paths_;
  LiveSystem system_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  std::unique_ptr<HostedExtension> extension_;
  std::string question_;
  std::unordered_map<std::string, std::string> badges_;
};

void LargeStatus(benchmark::State& state) {
  for (auto _ : state) {
    LiveHostLink live;
    auto message = live.message(static_cast<int>(state.range(0)));
    const auto size = static_cast<double>(message->size());
    const auto waits = waitsDuring(live, std::move(message));
    if (!waits || !live.badgesAreRight()) {
      state.SkipWithError("a menu without items, or wrong badges: the waits mean nothing");
      return;
    }
    waits->report(state);
    state.counters["message_MB"] = size / 1e6;
    state.counters["peak_MB"] = waits->growth / 1e6;
    state.counters["times_message"] = (size + waits->growth) / size;
  }
}
BENCHMARK(LargeStatus)
    ->ArgName("entries")
    ->Arg(1'000)
    ->Arg(50'000)
    ->Arg(400'000)
    ->Arg(1'000'000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelpie
