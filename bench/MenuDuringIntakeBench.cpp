// How long does the file manager wait for a menu while a message of three megabytes that says
// little very often is taken in? Asked for each of the messages that the tests know (see
// tests/support/HostileMessages.cpp). The controller is the real one and its queues run by
// themselves, each on a thread; a menu is asked for every half millisecond, from before the message
// comes until nothing of it is left, as tasks of the main queue: so a wait includes what the main
// queue does with the message.
//
// The bar is 50 ms for the longest wait. "quiet_ms" is the longest wait without a message, of as
// many menus as there were with it: what this machine is worth at the moment.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "foundation/Dictionary.h"
#include "platform/FIMenuKind.h"
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

}  // namespace
}  // namespace kelpie
