// What does a file manager's question for the badges of 10,000 items cost, from the bytes of its
// line to the bytes of the answer? Everything of the extension is the real one but the threads (its
// queues run in turn on this one) and the main application, which listens and does nothing. The
// files are real, in one folder or a hundred, and in memory where there is such a file system; each
// fiftieth is changed, and the status has as many entries of files elsewhere as the name says, as
// that of a repository with so many changes has.
//
// The floor is what no answer can do without: the JSON of the question and of the answers, and one
// lstat() for each item. The bar is 1.5 times the floor. Each round takes the floor and the
// question, one after the other, so that both meet the same machine; "ratio" is the question's
// processor time by the floor's.

#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "PeakMemory.h"
#include "StatusBench.h"
#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostSession.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "protocol/BadgeIdentifiers.h"

namespace kelpie {
namespace {

using nlohmann::json;

constexpr int kItems = 10'000;
constexpr int kChangedEvery = 50;
constexpr StatusWord kModified = 0x0100;
constexpr std::size_t kBadgesInALine = 100;

// The extension behind the host link, and one host.
class Extension {
 public:
  // The status has `others` entries of files that nobody asks for.
  Extension(int folderCount, int others)
      : finder_(system_.queues.mainQueue()),
        platform_{finder_,
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
        installed_(files_) {
    KPKelpieSync::initialize(platform_);
    sync_ = KPKelpieSync::create(platform_, defaults_);
    sync_->setApplicationPid(42);
    hub_ = std::make_unique<HostLinkHub>(*sync_, finder_, [](const Image&) { return ""; });
    session_ = std::make_unique<HostSession>(
        *hub_, [this](std::string line) { answers_.push_back(std::move(line)); });
    session_->handleLine(R"({"type":"hello","host":"bench","version":1})");
    root_ = folder_.folder("repository");
    folder_.folder("repository/.git");
    sync_->openRepositoryWithUrls(
        Objects{URL::fileURLWithPath(root_), URL::fileURLWithPath(root_ + "/.git")});
    system_.runAll();
    makeItems(folderCount, others);
    forget();
  }

  // The line that asks for all items, and what each of them is.
  const std::string& question() const { return question_; }
  const std::vector<std::string>& paths() const { return paths_; }
  const std::unordered_map<std::string, std::string>& expected() const { return expected_; }

  // The lines that answer the question.
  std::vector<std::string> ask() {
    answers_.clear();
    session_->handleLine(question_);
    system_.runAll();
    return std::exchange(answers_, {});
  }

  // The folders have left the screen, and come into view with a new status.
  void forget() {
    for (const std::string& folder : folders_)
      sync_->endObservingDirectoryAtURL(URL::fileURLWithPath(folder));
    system_.runAll();
    sync_->repositories().all()->front()->setStatus(status_);
    system_.runAll();
    answers_.clear();
  }

 private:
  void makeItems(int folderCount, int others) {
    json urls = json::array();
    Dictionary entries;
    for (int i = 0; i < others; ++i)
      entries.set(otherIdentifier(i),
                  Objects{kModified, Object::path(root_ + "/elsewhere/" + std::to_string(i))});
    for (int i = 0; i < folderCount; ++i)
      folders_.push_back(folder_.folder("repository/source-" + std::to_string(i)));
    const int each = kItems / folderCount;
    for (int i = 0; i < kItems; ++i) {
      const std::string path =
          folders_[static_cast<std::size_t>(i / each)] + "/file " + std::to_string(i) + ".cpp";
      TemporaryFolder::file(path);
      const URL url = URL::fileURLWithPath(path);
      if (i % kChangedEvery == 0)
        entries.set(Object::orNil(url.identifier(*files_)), Objects{kModified, Object::path(path)});
      expected_[url.absoluteString()] =
          i % kChangedEvery == 0 ? badge::kWorkdirModified : badge::kCurrent;
      urls.push_back(url.absoluteString());
      paths_.push_back(path);
    }
    question_ = json{{"type", "requestBadges"}, {"urls", std::move(urls)}}.dump();
    status_ = Object(std::move(entries));
  }

  static Object otherIdentifier(int index) {
    Bytes bytes(16, 0xEE);
    for (std::size_t i = 0; i < 4; ++i)
      bytes[8 + i] = static_cast<std::uint8_t>(static_cast<unsigned>(index) >> (8 * i));
    return Object(std::move(bytes));
  }

  TemporaryFolder folder_;
  FakePlatform system_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  LinuxFinderSyncController finder_;
  Platform platform_;
  KPUserDefaults defaults_;
  ScopedFileSystem installed_;
  std::unique_ptr<KPKelpieSync> sync_;
  std::unique_ptr<HostLinkHub> hub_;
  std::vector<std::string> answers_;
  std::unique_ptr<HostSession> session_;
  std::string root_;
  std::vector<std::string> folders_;
  std::vector<std::string> paths_;
  std::unordered_map<std::string, std::string> expected_;
  std::string question_;
  Object status_;
};

// Every item has been answered, each with its own badge.
bool isRight(const std::vector<std::string>& lines, const Extension& extension) {
  std::unordered_map<std::string, std::string> told;
  for (const std::string& line : lines) {
    const json object = json::parse(line);
    if (object["type"] != "badges") return false;
    for (const json& pair : object["badges"]) told[pair[0]] = pair[1];
  }
  return told == extension.expected();
}

// What any answer takes: the question read, a look at each item, the answers written. The number of
// bytes of these.
std::size_t floorOf(const Extension& extension) {
  const json question = json::parse(extension.question());
  std::size_t size = 0;
  std::size_t index = 0;
  struct stat status = {};
  json badges = json::array();
  const auto flush = [&] {
    size +=
        json{{"type", "badges"}, {"badges", std::exchange(badges, json::array())}}.dump().size();
  };
  for (const json& url : question["urls"]) {
    benchmark::DoNotOptimize(::lstat(extension.paths()[index].c_str(), &status));
    badges.push_back(json::array(
        {url, index++ % kChangedEvery == 0 ? badge::kWorkdirModified : badge::kCurrent}));
    if (badges.size() >= kBadgesInALine) flush();
  }
  if (!badges.empty()) flush();
  return size;
}

void BadgeRequests(benchmark::State& state) {
  Extension extension(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  if (!isRight(extension.ask(), extension)) {
    state.SkipWithError("wrong badges: the time means nothing");
    return;
  }
  std::vector<double> floors;
  std::vector<double> times;
  const PeakMemory peak;
  for (auto _ : state) {
    extension.forget();
    double start = milliseconds();
    benchmark::DoNotOptimize(floorOf(extension));
    floors.push_back(milliseconds() - start);

    start = milliseconds();
    const std::vector<std::string> lines = extension.ask();
    benchmark::DoNotOptimize(lines.data());
    times.push_back(milliseconds() - start);
    state.SetIterationTime(times.back() / 1000);
  }
  state.counters["badges_ms"] = median(times);
  state.counters["floor_ms"] = median(floors);
  state.counters["ratio"] = median(times) / median(floors);
  state.counters["peak_MB"] = peak.growthInMegabytes();
}

BENCHMARK(BadgeRequests)
    ->ArgNames({"folders", "changes"})
    ->Args({1, 0})
    ->Args({100, 0})
    ->Args({100, 50'000})
    ->Args({100, 400'000})
    ->Args({100, 1'000'000})
    ->UseManualTime()
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kelpie
