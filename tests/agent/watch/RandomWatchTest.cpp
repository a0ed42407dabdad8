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
#include <utility>
#include <vector>

#include "agent/git/GitSandbox.h"
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
                                     isBehind_ |= change.status;
                                     places_.insert(path);
                                   },
                                   [] { FAIL() << "there are not so many folders"; }});
    isBehind_ = true;
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
    for (const char* name : {"a", "b", "c", "d", "e", ".gitignore"})
      fs::remove_all(sandbox_.path("r/") + name, error);
    sandbox_.write("r/a/b/c/f", "1\n");
    sandbox_.write("r/d/e/f", "1\n");
  }
  void change() {
    std::error_code error;
    switch (below(15)) {
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
    StatusReader::Reading reading = StatusReader(GitCommand("git", "/"), copy_).read();
    if (auto* snapshot = std::get_if<0>(&reading))
      read_ = std::move(*snapshot);
    else
      isBehind_ = true;  // git has met a change
  }
  void follow() { watch_->follow(*std::exchange(read_, nullptr), std::nullopt); }
  // One of them does something, if there is anything to do.
  bool turn() {
    std::vector<void (RandomWatchTest::*)()> possible;
    if (hasEvents()) possible.push_back(&RandomWatchTest::dispatch);
    if (queues_.pending() > 0) possible.push_back(&RandomWatchTest::runOne);
    if (read_ != nullptr) possible.push_back(&RandomWatchTest::follow);
    if (read_ == nullptr && isBehind_) possible.push_back(&RandomWatchTest::read);
    if (possible.empty()) return false;
    (this->*possible[below(possible.size())])();
    return true;
  }
  void dispatch() { watcher_.dispatch(); }
  void runOne() {
    if (walks_->pending() > 0 && (queues_.main().pending() == 0 || below(2) == 0))
      walks_->runOne();
    else
      queues_.main().runOne();
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
  std::set<std::string> places_;                // that were told of
  std::shared_ptr<const StatusSnapshot> read_;  // and not followed yet
  std::mt19937_64 random_;
};

TEST_F(RandomWatchTest, EveryFolderThatIsNotIgnoredIsWatchedInTheEnd) {
  for (int round = 0; round < kRounds; ++round) {
    clear();
    for (int step = 0; step < kStepsOfARound; ++step)
      if (below(3) == 0 || !turn()) change();
    for (int turns = 0; turn(); ++turns) ASSERT_LT(turns, kMostTurns) << "it never comes to rest";
    ASSERT_EQ(unwatched(), std::set<std::string>()) << "round " << round;
  }
}

}  // namespace
}  // namespace kelpie::agent
