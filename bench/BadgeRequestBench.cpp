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

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "foundation/Dictionary.h"
#include "foundation/URL.h"
#include "harness/BenchFiles.h"
#include "harness/FloorRounds.h"
#include "harness/HostedExtension.h"
#include "harness/StatusMessages.h"
#include "platform/linux/LinuxFileSystem.h"
#include "protocol/BadgeIdentifiers.h"
#include "status/KPRepository.h"
#include "support/FakePlatform.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

using nlohmann::json;

constexpr int kItems = 10'000;
constexpr int kChangedEvery = 50;
constexpr StatusWord kModified = 0x0100;
constexpr std::size_t kBadgesInALine = 100;

// The extension, and the question.
class Asked {
 public:
  // The status has `others` entries of files that nobody asks for.
  Asked(int folderCount, int others) {
    root_ = folder_.addFolder("repository");
    folder_.addFolder("repository/.git");
    extension_.open(root_);
    fakes_.runAll();
    makeItems(folderCount, others);
    forget();
  }

  // The line that asks for all items, and what each of them is.
  const std::string& question() const { return question_; }
  const std::vector<std::string>& paths() const { return paths_; }
  const std::unordered_map<std::string, std::string>& expected() const { return expected_; }

  // The lines that answer the question.
  std::vector<std::string> ask() {
    extension_.handleLine(question_);
    fakes_.runAll();
    return extension_.takeAnswers();
  }

  // The folders have left the screen, and come into view with a new status.
  void forget() {
    for (const std::string& folder : folders_)
      extension_.sync().endObservingDirectoryAtURL(URL::fileURLWithPath(folder));
    fakes_.runAll();
    extension_.repository()->setStatus(status_);
    fakes_.runAll();
    extension_.takeAnswers();
  }

 private:
  void makeItems(int folderCount, int others) {
    json urls = json::array();
    Dictionary entries;
    for (int i = 0; i < others; ++i)
      entries.set(identifierOfNoFile(i),
                  Objects{kModified, Object::path(root_ + "/elsewhere/" + std::to_string(i))});
    for (int i = 0; i < folderCount; ++i)
      folders_.push_back(folder_.addFolder("repository/source-" + std::to_string(i)));
    const int each = kItems / folderCount;
    for (int i = 0; i < kItems; ++i) {
      const std::string path =
          folders_[static_cast<std::size_t>(i / each)] + "/file " + std::to_string(i) + ".cpp";
      touch(path);
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

  TemporaryFolder folder_{roomyFolder()};
  FakePlatform fakes_;
  std::shared_ptr<LinuxFileSystem> files_ = std::make_shared<LinuxFileSystem>();
  HostedExtension extension_{fakes_, files_};
  std::string root_;
  std::vector<std::string> folders_;
  std::vector<std::string> paths_;
  std::unordered_map<std::string, std::string> expected_;
  std::string question_;
  Object status_;
};

// Every item has been answered, each with its own badge.
bool isRight(const std::vector<std::string>& lines, const Asked& asked) {
  std::unordered_map<std::string, std::string> told;
  for (const std::string& line : lines) {
    const json object = json::parse(line);
    if (object["type"] != "badges") return false;
    for (const json& pair : object["badges"]) told[pair[0]] = pair[1];
  }
  return told == asked.expected();
}

// What any answer takes: the question read, a look at each item, the answers written. The number of
// bytes of these.
std::size_t floorOf(const Asked& asked) {
  const json question = json::parse(asked.question());
  std::size_t size = 0;
  std::size_t index = 0;
  struct stat status = {};
  json badges = json::array();
  const auto flush = [&] {
    size +=
        json{{"type", "badges"}, {"badges", std::exchange(badges, json::array())}}.dump().size();
  };
  for (const json& url : question["urls"]) {
    benchmark::DoNotOptimize(::lstat(asked.paths()[index].c_str(), &status));
    badges.push_back(json::array(
        {url, index++ % kChangedEvery == 0 ? badge::kWorkdirModified : badge::kCurrent}));
    if (badges.size() >= kBadgesInALine) flush();
  }
  if (!badges.empty()) flush();
  return size;
}

void BadgeRequests(benchmark::State& state) {
  Asked asked(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  if (!isRight(asked.ask(), asked)) {
    state.SkipWithError("wrong badges: the time means nothing");
    return;
  }
  FloorRounds rounds(state);
  for (auto _ : state) {
    asked.forget();
    rounds.floor([&] { benchmark::DoNotOptimize(floorOf(asked)); });
    std::vector<std::string> lines;
    rounds.work([&] { lines = asked.ask(); });
  }
  rounds.report("badges_ms");
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
