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

#include "PeakMemory.h"
#include "StatusBench.h"
#include "archive/KeyedArchiver.h"
#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "foundation/Dictionary.h"
#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostSession.h"
#include "platform/FIMenuKind.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "protocol/BadgeIdentifiers.h"
#include "protocol/MessageKeys.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"
#include "support/FakePlatform.h"
#include "support/HostileMessages.h"
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

// A controller with one open repository, items on screen and queues that run by themselves.
class LiveController {
 public:
  LiveController() {
    fakes_.groupDefaults().changeFromOutside("KPApplicationVersion", "1");
    fakes_.groupDefaults().changeFromOutside("KPShowFolderGitStatus", true);
    fakes_.applications.running["org.kelpie.Kelpie"] = {700};
    fakes_.messagePorts.setListening("group.org.kelpie.App", true);
    const URL root = fakes_.files->addFolder(kRoot);
    const URL git = fakes_.files->addFolder(std::string(kRoot) + "/.git");
    fakes_.finder.select({}, root);
    onMainQueue([&] {
      KPKelpieSync::initialize(fakes_.platform());
      controller_ = KPKelpieSync::create(fakes_.platform(), defaults_);
    });
    const Dictionary opening{{kMessageSelectorKey, "openRepositoryWithUrls:"},
                             {kMessageArgumentKey, Objects{root, git}}};
    handle(std::make_shared<const Bytes>(KeyedArchiver::archivedData(opening).value()));
    queues_.waitUntilIdle();
    for (std::size_t index = 0; index < kFolders; ++index) {
      const std::string path = std::string(kRoot) + "/d" + std::to_string(index);
      shown_.push_back(identifierOf(fakes_.files->addFolder(path)));
      controller_->requestBadgeIdentifierForURL(URL::fileURLWithPath(path));
      controller_->requestBadgeIdentifierForURL(fakes_.files->addFile(path + "/a"));
    }
    queues_.waitUntilIdle();
  }
  ~LiveController() {
    onMainQueue([&] { controller_.reset(); });
    queues_.waitUntilIdle();
  }
  LiveController(const LiveController&) = delete;
  LiveController& operator=(const LiveController&) = delete;

  Bytes message(const HostileCase& hostile) const {
    return hostile.make(kBytes, identifierOf(URL::fileURLWithPath(kRoot)), shown_);
  }

  // Returns when the main queue has the message.
  void handle(std::shared_ptr<const Bytes> message) {
    queues_.mainQueue()->post([this, message = std::move(message)]() mutable {
      controller_->handleSelectorMessage(std::move(message));
    });
  }

  // How long a menu takes to come. Absent when there is nothing in it.
  std::optional<Milliseconds> waitForMenu() {
    const Clock::time_point asked = Clock::now();
    std::optional<Menu> menu;
    onMainQueue([&] { menu = controller_->menuForMenuKind(FIMenuKind::ToolbarItemMenu); });
    if (!menu || menu->items.empty()) return std::nullopt;
    return Clock::now() - asked;
  }

  // Ready when the update queue has nothing left of what it was given before, and of what that has
  // given it in turn.
  std::future<void> endOfIntake() {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> end = done->get_future();
    const std::shared_ptr<KPRepository> repository = controller_->repositories().all()->front();
    queues_.mainQueue()->post([repository, done] {
      const std::shared_ptr<SerialQueue> queue = repository->updateQueue();
      queue->post([queue, done] {
        queue->post([queue, done] { queue->post([done] { done->set_value(); }); });
      });
    });
    return end;
  }

 private:
  static Bytes identifierOf(const URL& url) {
    const std::optional<FileIdentifier> identifier = url.identifier();
    const ByteView bytes = identifier->bytes();
    return {bytes.begin(), bytes.end()};
  }

  template <class Task>
  void onMainQueue(const Task& task) {
    std::promise<void> done;
    queues_.mainQueue()->post([&] {
      task();
      done.set_value();
    });
    done.get_future().wait();
  }

  ThreadedQueues queues_;
  FakePlatform fakes_{queues_};
  KPUserDefaults defaults_{fakes_.platform()};
  std::unique_ptr<KPKelpieSync> controller_;
  std::vector<Bytes> shown_;
};

double longestOverAll = 0;

void MenuDuringIntake(benchmark::State& state) {
  const HostileCase& hostile = hostileCases()[static_cast<std::size_t>(state.range(0))];
  for (auto _ : state) {
    LiveController live;
    const auto message = std::make_shared<const Bytes>(live.message(hostile));
    std::vector<double> waits;
    const auto ask = [&] {
      const std::optional<Milliseconds> wait = live.waitForMenu();
      if (wait) waits.push_back(wait->count());
      std::this_thread::sleep_for(kPause);
      return wait.has_value();
    };
    bool isAnswered = ask();
    const Clock::time_point begin = Clock::now();
    live.handle(message);
    const std::future<void> end = live.endOfIntake();
    while (isAnswered && end.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
      isAnswered = ask();
    const Milliseconds intake = Clock::now() - begin;
    const double longest = std::ranges::max(waits);
    const std::size_t menus = waits.size();
    waits.clear();
    while (isAnswered && waits.size() < menus) isAnswered = ask();
    if (!isAnswered) {
      state.SkipWithError("a menu without items: the waits mean nothing");
      return;
    }
    longestOverAll = std::max(longestOverAll, longest);
    state.counters["longest_ms"] = longest;
    state.counters["bar_ms"] = kBar;
    state.counters["menus"] = static_cast<double>(menus);
    state.counters["intake_ms"] = intake.count();
    state.counters["quiet_ms"] = std::ranges::max(waits);
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
constexpr std::size_t kMostQuietMenus = 1'000;
constexpr StatusWord kModified = 0x0100;

// The controller behind the host link, with one host that shows a folder of 500 items.
class LiveHostLink {
 public:
  LiveHostLink() {
    fakes_.groupDefaults().changeFromOutside("KPApplicationVersion", "1");
    fakes_.applications.running["org.kelpie.Kelpie"] = {700};
    fakes_.messagePorts.setListening("group.org.kelpie.App", true);
    folder_.folder("r/.git");
    json urls = json::array();
    for (int i = 0; i < kShown; ++i) {
      paths_.push_back(shownFolder_ + "/file" + std::to_string(i) + ".cpp");
      TemporaryFolder::file(paths_.back());
      urls.push_back(URL::fileURLWithPath(paths_.back()).absoluteString());
    }
    onMainQueue([&] {
      KPKelpieSync::initialize(platform_);
      controller_ = KPKelpieSync::create(platform_, defaults_);
      hub_ = std::make_unique<HostLinkHub>(*controller_, finder_, [](const Image&) { return ""; });
      session_ = std::make_unique<HostSession>(
          *hub_, [this](std::string line) { answers_.push_back(std::move(line)); });
      session_->handleLine(R"({"type":"hello","host":"bench","version":1})");
      controller_->openRepositoryWithUrls(
          Objects{URL::fileURLWithPath(root_), URL::fileURLWithPath(root_ + "/.git")});
    });
    queues_.waitUntilIdle();
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
    onMainQueue([&] {
      session_.reset();
      hub_.reset();
      controller_.reset();
    });
    queues_.waitUntilIdle();
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
      status.set(i < kShown / 2 ? Object(*url.identifier(*files_)) : otherIdentifier(i),
                 Objects{kModified, path});
      dirty.emplace_back(url);
    }
    const Dictionary info{{"KPRepositoryState", 0},
                          {"KPRepositoryStatus", Object(std::move(status))},
                          {"KPStatusDirtyURLs", std::move(dirty)},
                          {"KPStatusNewCount", 0}};
    const URL root = URL::fileURLWithPath(root_);
    const Dictionary message{{kMessageSelectorKey, "setStatusInfo:"},
                             {kMessageTargetKey, Object(*root.identifier(*files_))},
                             {kMessageArgumentKey, info}};
    return std::make_shared<const Bytes>(KeyedArchiver::archivedData(message).value());
  }

  // Returns when the main queue has the message.
  void handle(std::shared_ptr<const Bytes> message) {
    queues_.mainQueue()->post([this, message = std::move(message)]() mutable {
      controller_->handleSelectorMessage(std::move(message));
    });
  }
  std::future<void> endOfIntake() {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> end = done->get_future();
    queues_.mainQueue()->post([this, done] {
      const std::shared_ptr<SerialQueue> queue =
          controller_->repositories().all()->front()->updateQueue();
      queue->post([queue, done] {
        queue->post([queue, done] { queue->post([done] { done->set_value(); }); });
      });
    });
    return end;
  }

  // How long a menu takes to come. Absent when there is nothing in it.
  std::optional<Milliseconds> waitForMenu() {
    const Clock::time_point asked = Clock::now();
    std::string answer;
    onMainQueue([&] {
      session_->handleLine(question_);
      answer = answers_.back();
      note();
    });
    const Milliseconds wait = Clock::now() - asked;
    const json line = json::parse(answer);
    if (line["type"] != "menu" || line["menu"].is_null() || line["menu"]["items"].empty())
      return std::nullopt;
    return wait;
  }

  // Whether each item on screen has been told its badge.
  bool badgesAreRight() {
    queues_.waitUntilIdle();
    onMainQueue([this] { note(); });
    for (std::size_t i = 0; i < paths_.size(); ++i) {
      const auto told = badges_.find(URL::fileURLWithPath(paths_[i]).absoluteString());
      const auto expected = i % 2 == 0 ? badge::kWorkdirModified : badge::kCurrent;
      if (told == badges_.end() || told->second != expected) return false;
    }
    return true;
  }

 private:
  static Object otherIdentifier(int index) {
    Bytes bytes(16, 0xEE);
    for (std::size_t i = 0; i < 4; ++i)
      bytes[8 + i] = static_cast<std::uint8_t>(static_cast<unsigned>(index) >> (8 * i));
    return Object(std::move(bytes));
  }
  void say(const json& line) {
    onMainQueue([&] { session_->handleLine(line.dump()); });
    queues_.waitUntilIdle();
  }
  // Keeps the badges of the lines that came, and drops the lines.
  void note() {
    for (const std::string& text : answers_) {
      const json line = json::parse(text);
      if (line["type"] != "badges") continue;
      for (const json& pair : line["badges"]) badges_[pair[0]] = pair[1];
    }
    answers_.clear();
  }
  template <class Task>
  void onMainQueue(const Task& task) {
    std::promise<void> done;
    queues_.mainQueue()->post([&] {
      task();
      done.set_value();
    });
    done.get_future().wait();
  }

  TemporaryFolder folder_;
  std::string root_ = folder_.folder("r");
  std::string shownFolder_ = folder_.folder("r/shown");
  std::vector<std::string> paths_;
  ThreadedQueues queues_;
  FakePlatform fakes_{queues_};
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  LinuxFinderSyncController finder_{queues_.mainQueue()};
  Platform platform_{finder_,
                     fakes_.messagePorts,
                     fakes_.defaults,
                     fakes_.entitlements,
                     fakes_.applications,
                     fakes_.processMonitors,
                     fakes_.notifications,
                     *files_,
                     queues_,
                     fakes_.bundle,
                     fakes_.limits,
                     fakes_.log};
  KPUserDefaults defaults_{platform_};
  ScopedFileSystem installed_{files_};
  std::unique_ptr<KPKelpieSync> controller_;
  std::unique_ptr<HostLinkHub> hub_;
  std::unique_ptr<HostSession> session_;
  std::string question_;
  std::vector<std::string> answers_;  // main queue
  std::unordered_map<std::string, std::string> badges_;
};

void LargeStatus(benchmark::State& state) {
  for (auto _ : state) {
    LiveHostLink live;
    auto message = live.message(static_cast<int>(state.range(0)));
    const auto size = static_cast<double>(message->size());
    std::vector<double> waits;
    const auto ask = [&] {
      const std::optional<Milliseconds> wait = live.waitForMenu();
      if (wait) waits.push_back(wait->count());
      std::this_thread::sleep_for(kPause);
      return wait.has_value();
    };
    bool isAnswered = ask();
    const PeakMemory peak;
    const Clock::time_point begin = Clock::now();
    live.handle(std::move(message));
    const std::future<void> end = live.endOfIntake();
    while (isAnswered && end.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
      isAnswered = ask();
    const Milliseconds intake = Clock::now() - begin;
    const double growth = peak.growth();
    const double longest = std::ranges::max(waits);
    const std::size_t menus = waits.size();
    waits.clear();
    while (isAnswered && waits.size() < std::min(menus, kMostQuietMenus)) isAnswered = ask();
    if (!isAnswered || !live.badgesAreRight()) {
      state.SkipWithError("a menu without items, or wrong badges: the waits mean nothing");
      return;
    }
    state.counters["longest_ms"] = longest;
    state.counters["bar_ms"] = kBar;
    state.counters["menus"] = static_cast<double>(menus);
    state.counters["intake_ms"] = intake.count();
    state.counters["quiet_ms"] = std::ranges::max(waits);
    state.counters["message_MB"] = size / 1e6;
    state.counters["peak_MB"] = growth / 1e6;
    state.counters["times_message"] = (size + growth) / size;
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
