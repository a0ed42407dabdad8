// A watch beside changes at random, in whatever order events, walks and readings have their turn.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "agent/git/ChangedPlaces.h"
#include "agent/git/GitSandbox.h"
#include "agent/git/StatusMerge.h"
#include "agent/git/StatusReader.h"
#include "agent/watch/RepositoryWatch.h"
#include "support/EventLog.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 60;
constexpr int kStepsOfARound = 40;
constexpr int kMostTurns = 10'000;  // until all is at rest

class RandomWatchTest : public testing::Test {
 protected:
  RandomWatchTest() : random_(seed()) {
    sandbox_.init("r");
    sandbox_.write("r/a/b/c/f", "1\n");
    sandbox_.write("r/d/e/f", "1\n");
    sandbox_.commitAll("r", "one");
    const auto finding = WorkingCopyFinder(GitCommand("git", "/")).find(sandbox_.path("r"));
    copy_ = finding.workingCopy.value();
    watch_ = std::make_unique<RepositoryWatch>(
        watcher_, copy_, queues_.mainQueue(), walks_,
        RepositoryWatch::Callbacks{[this](Change change, const std::string& path) {
                                     if (!change.status) return;
                                     journal_.push_back("told of \"" + path + "\"");
                                     isBehind_ = true;
                                     changed_.add(path);
                                     places_.insert(path);
                                   },
                                   [] { FAIL() << "there are not so many folders"; }});
    isBehind_ = true;
  }

  ~RandomWatchTest() override {
    if (walker_.joinable()) walker_.join();
  }

  static std::uint64_t seed() {
    const char* text = std::getenv("KELPIE_WATCH_SEED");
    const std::uint64_t seed = text != nullptr ? std::stoull(text) : std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    std::cout << "KELPIE_WATCH_SEED=" << seed << '\n';
    return seed;
  }
  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }

  // -- Changes ------------------------------------------------------------------------------------

  // A path that may or may not be there.
  std::string aPath() {
    constexpr const char* kNames[] = {"a", "b", "c", "d", "e"};
    std::string path = sandbox_.path("r");
    for (std::size_t depth = 1 + below(4); depth > 0; --depth)
      path.append("/").append(kNames[below(5)]);
    return path;
  }
  // A folder that is there; the root when there is no other.
  std::string aFolder() {
    std::vector<std::string> all = realFolders({});
    return all.empty() ? sandbox_.path("r") : all[below(all.size())];
  }
  // What is no folder any more stands in the way of others.
  void clear() {
    std::error_code error;
    run({"checkout", "-q", "-f", "main"});
    for (const char* name : {"a", "b", "c", "d", "e", ".gitignore"})
      fs::remove_all(sandbox_.path("r/") + name, error);
    sandbox_.write("r/a/b/c/f", "1\n");
    sandbox_.write("r/d/e/f", "1\n");
  }
  void run(const Arguments& arguments) {
    std::string& line = journal_.emplace_back("git");
    for (const auto& argument : arguments) line.append(" ").append(argument);
    sandbox_.tryGit("r", arguments);
  }
  void commit() {
    run({"add", "-A"});
    run({"commit", "-q", "-m", "more"});
  }
  void changeByGit() {
    switch (below(7)) {
      case 0:
        return run({"add", "-A"});
      case 1:
        return commit();
      case 2:
        return run({"checkout", "-q", "-f", "HEAD~1"});
      case 3:
        return run({"checkout", "-q", "-f", "main"});
      case 4:
        return run({"stash", "-q", "-u"});
      default:
        return renameOnBothSides();
    }
  }
  // A conflict of three paths.
  void renameOnBothSides() {
    const std::string tracked = sandbox_.git("r", {"ls-files"});
    const std::string file = tracked.substr(0, tracked.find('\n'));
    commit();
    const auto renameTo = [&](const std::string& path) {
      std::error_code error;
      fs::create_directories(path, error);
      run({"mv", file, path.substr(sandbox_.path("r/").size()) + "/renamed"});
      run({"commit", "-q", "-m", "renamed"});
    };
    run({"checkout", "-q", "-f", "-B", "other"});
    renameTo(aPath());
    run({"checkout", "-q", "-f", "main"});
    renameTo(aPath());
    run({"merge", "-q", "other"});
  }
  void change() {
    std::error_code error;
    const std::size_t kind = below(17);
    journal_.push_back("change of kind " + std::to_string(kind));
    switch (kind) {
      case 0:
      case 1:
      case 2: {
        const std::string path = aPath();
        if (fs::create_directories(path, error) || !error) writeFile(path + "/f");
        break;
      }
      case 3:
      case 4:
        fs::rename(aFolder(), aPath(), error);
        break;
      case 5:
        ::syscall(SYS_renameat2, AT_FDCWD, aFolder().c_str(), AT_FDCWD, aFolder().c_str(),
                  RENAME_EXCHANGE);
        break;
      case 6:
        if (const std::string folder = aFolder(); folder != sandbox_.path("r"))
          fs::remove_all(folder, error);
        break;
      case 7:
      case 11:
      case 12:
        writeFile((below(2) == 0 ? sandbox_.path("r") : aFolder()) + "/.gitignore");
        break;
      case 8:
        fs::remove(aFolder() + "/.gitignore", error);
        break;
      case 9:
        if (const std::string folder = aFolder(); folder != sandbox_.path("r")) {
          fs::remove_all(folder, error);
          fs::create_directory_symlink(aFolder(), folder, error);
        }
        break;
      case 10: {
        const std::string away = sandbox_.path("away");
        if (const std::string folder = aFolder(); folder != sandbox_.path("r"))
          fs::rename(folder, away, error);
        if (below(2) == 0) turn();
        fs::rename(away, aPath(), error);
        fs::remove_all(away, error);
        break;
      }
      case 13:
        changeByGit();
        break;
      default:
        writeFile(aFolder() + "/f");
        break;
    }
  }
  // A file of the rules names a folder; any other says nothing.
  void writeFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0) return;
    const std::string text(1, "abcde"[below(5)]);
    static_cast<void>(!::write(file, (text + "/\n").c_str(), 3));
    ::close(file);
  }

  // -- The agent's turns --------------------------------------------------------------------------

  bool hasEvents() {
    pollfd waiting = {watcher_.descriptor(), POLLIN, 0};
    return ::poll(&waiting, 1, 0) > 0;
  }
  void read() {
    isBehind_ = false;
    StatusReader::Update update = StatusReader(GitCommand("git", "/"), copy_)
                                      .update(known_.get(), std::exchange(changed_, {}), nullptr);
    journal_.push_back("read " + (update.whole.empty() ? "parts" : "all: " + update.whole));
    if (auto* snapshot = std::get_if<0>(&update.reading)) {
      read_ = std::move(*snapshot);
      return;
    }
    isBehind_ = true;  // git has met a change
    changed_.addEverything();
  }
  void follow() {
    known_ = std::exchange(read_, nullptr);
    watch_->follow(*known_, std::nullopt);
  }
  // One of them does something, if there is anything to do.
  bool turn() {
    std::vector<void (RandomWatchTest::*)()> possible;
    if (hasEvents()) possible.push_back(&RandomWatchTest::dispatch);
    if (queues_.pending() > 0 || walker_.joinable()) possible.push_back(&RandomWatchTest::runOne);
    if (read_ != nullptr) possible.push_back(&RandomWatchTest::follow);
    if (read_ == nullptr && isBehind_) possible.push_back(&RandomWatchTest::read);
    if (possible.empty()) return false;
    (this->*possible[below(possible.size())])();
    return true;
  }
  void dispatch() { watcher_.dispatch(); }
  void runOne() {
    if (!walker_.joinable() && walks_->pending() > 0)
      walker_ = std::thread([this] { walks_->runOne(); });
    else if (queues_.main().pending() > 0 && below(2) == 0)
      queues_.main().runOne();
    else if (walker_.joinable())
      walker_.join();
  }

  // -- What has to be -----------------------------------------------------------------------------

  std::vector<std::string> realFolders(const std::set<std::string>& except) const {
    std::vector<std::string> folders;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(sandbox_.path("r"), error), end; entry != end;
         entry.increment(error)) {
      if (entry->is_symlink(error) || !entry->is_directory(error)) continue;
      const std::string path = entry->path();
      if (path.ends_with("/.git") || except.contains(path))
        entry.disable_recursion_pending();
      else
        folders.push_back(path);
    }
    return folders;
  }
  std::set<std::string> ignored() const {
    const StatusReader::Reading reading = StatusReader(GitCommand("git", "/"), copy_).read();
    std::set<std::string> paths;
    for (const StatusItem& item : std::get<0>(reading)->items())
      if (item.isFolder && item.word == KPStatusIgnored)
        paths.insert(sandbox_.path("r/" + item.path));
    return paths;
  }
  // What happened in the round.
  std::string told() const {
    std::string text;
    for (const std::string& line : journal_) text.append("\n").append(line);
    return text;
  }
  // A change in each folder is told of under its own path.
  std::set<std::string> unwatched() {
    std::set<std::string> missing;
    for (const std::string& folder : realFolders(ignored())) {
      places_.clear();
      const std::string path = folder + "/probe";
      ::close(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
      fs::remove(path);
      while (hasEvents()) watcher_.dispatch();
      if (!places_.contains(path.substr(sandbox_.path("r/").size()))) missing.insert(folder);
    }
    return missing;
  }

  GitSandbox sandbox_;
  EventLog events_;
  ManualQueues queues_{events_};
  std::shared_ptr<ManualQueue> walks_ =
      std::static_pointer_cast<ManualQueue>(queues_.makeQueue("walks"));
  DirectoryWatcher watcher_{1000};
  WorkingCopy copy_;
  std::unique_ptr<RepositoryWatch> watch_;
  bool isBehind_ = false;
  std::set<std::string> places_;  // that were told of
  ChangedPlaces changed_;         // since the last reading began
  std::shared_ptr<const StatusSnapshot> known_;
  std::shared_ptr<const StatusSnapshot> read_;  // and not followed yet
  std::thread walker_;                          // runs one walk
  std::vector<std::string> journal_;            // of the round, for people
  std::mt19937_64 random_;
};

// What was read in parts is held to the whole.
TEST_F(RandomWatchTest, InTheEndEveryFolderThatIsNotIgnoredIsWatchedAndTheStatusRight) {
  for (int round = 0; round < kRounds; ++round) {
    journal_.clear();
    clear();
    for (int step = 0; step < kStepsOfARound; ++step)
      if (below(3) == 0 || !turn()) change();
    for (int turns = 0; turn(); ++turns) ASSERT_LT(turns, kMostTurns) << "it never comes to rest";
    const StatusReader::Reading whole = StatusReader(GitCommand("git", "/"), copy_).read();
    ASSERT_TRUE(std::holds_alternative<std::shared_ptr<const StatusSnapshot>>(whole));
    ASSERT_EQ(differenceBetween(known_->items(), std::get<0>(whole)->items()), "")
        << "round " << round << told();
    ASSERT_EQ(unwatched(), std::set<std::string>()) << "round " << round;
  }
}

}  // namespace
}  // namespace kelpie::agent
