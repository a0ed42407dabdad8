// A status that is read in parts, after each of many random changes, is the status that git tells
// of the whole. With the watch that says where something has changed; its events are there as soon
// as the change is made, so that no time plays a part.
//
// KELPIE_RANDOM_SEED: the seed of a run that is to be repeated; KELPIE_RANDOM_CHANGES: how many
// changes, for a long run.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/git/StatusMerge.h"
#include "agent/git/StatusReader.h"
#include "agent/random/WorkTree.h"
#include "agent/random/WorkTreeChanges.h"
#include "agent/watch/ChangeRules.h"
#include "agent/watch/RepositoryWatch.h"
#include "agent/watch/WatchPump.h"
#include "support/EventLog.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {
namespace {

constexpr std::uint64_t kSeed = 20;
constexpr int kChanges = 200;
constexpr int kChangesOfATree = 150;
constexpr std::size_t kMostFiles = 120;
// New folders are read once more when they are watched.
constexpr int kMostReadings = 8;

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

// One working copy, kept up to date as a session keeps it.
class KeptStatus {
 public:
  explicit KeptStatus(WorkTree::Random& random) : tree_(random) {
    const auto finding = WorkingCopyFinder(GitCommand("git", "/")).find(tree_ / "");
    copy_ = finding.workingCopy.value();
    reader_.emplace(GitCommand("git", "/"), copy_);
    watch_ = std::make_unique<RepositoryWatch>(
        watcher_, copy_, queues_.mainQueue(), queues_.makeQueue("walks"),
        RepositoryWatch::Callbacks{[this](Change change, const std::string& path) {
                                     if (change.status) places_.add(path);
                                   },
                                   [] { ADD_FAILURE() << "too many folders to watch"; }});
    places_.addEverything();
  }

  WorkTree& tree() { return tree_; }

  // Takes in what has changed. `meanwhile` happens when a reading has begun: the watch tells of it
  // after that reading.
  template <class Meanwhile>
  void keep(Meanwhile meanwhile) {
    pump();
    for (int i = 0; i < kMostReadings && !places_.isEmpty(); ++i) {
      const ChangedPlaces places = std::exchange(places_, {});
      if (i == 0) meanwhile();
      StatusReader::Update update = reader_->update(known_.get(), places);
      if (update.reading.index() != 0) return places_.addEverything();
      known_ = std::get<0>(std::move(update.reading));
      ++readings_[update.whole];
      watch_->follow(*known_, std::nullopt);
      pump();
    }
  }

  // How the status is wrong, or an empty text. Absent when git refuses the working copy, such as
  // one with a link in place of a submodule.
  std::optional<std::string> difference() const {
    const StatusReader::Reading whole = reader_->read();
    if (whole.index() != 0) return std::nullopt;
    const std::string difference = differenceBetween(known_->items(), std::get<0>(whole)->items());
    return difference.empty() ? ""
                              : difference + "; in parts:" + told(*known_) +
                                    "\nwhole:" + told(*std::get<0>(whole));
  }

  // The folders in which changes would go unseen.
  std::vector<std::string> unwatched() const {
    const std::set<std::string> watched = watcher_.foldersOf(1);  // the only client
    std::vector<std::string> result;
    for (const std::string& folder : tree_.folders())
      if (!isInFolderItem(folder) && !watched.contains(tree_ / folder)) result.push_back(folder);
    return result;
  }

  // By the reason why the whole was read; an empty one where it was not.
  const std::map<std::string, int>& readings() const { return readings_; }

 private:
  bool isInFolderItem(std::string_view folder) const {
    for (const StatusItem& item : known_->items())
      if (item.isFolder && isWithin(folder, item.path)) return true;
    return false;
  }

  static std::string told(const StatusSnapshot& status) {
    std::ostringstream text;
    for (const StatusItem& item : status.items())
      text << '\n'
           << std::hex << item.word << ' ' << item.path << (item.isFolder ? "/ " : " ")
           << item.renamedFrom << (item.isGone ? " (gone)" : "");
    return text.str();
  }

  void pump() {
    pumpAll(watcher_, queues_);
    if (tree_.takeSettingsChange()) places_.addEverything();
  }

  WorkTree tree_;
  EventLog events_;
  ManualQueues queues_{events_};
  DirectoryWatcher watcher_{10000};
  WorkingCopy copy_;
  std::optional<StatusReader> reader_;
  ChangedPlaces places_;
  std::unique_ptr<RepositoryWatch> watch_;
  std::shared_ptr<const StatusSnapshot> known_;
  std::map<std::string, int> readings_;
};

class RandomParts : public testing::Test {
 protected:
  RandomParts() : seed_(numberFrom("KELPIE_RANDOM_SEED", kSeed)), random_(seed_) {
    std::cout << "KELPIE_RANDOM_SEED=" << seed_ << '\n';
    for (const auto& table : {fileTreeChanges(), gitTreeChanges()})
      for (const WorkTreeChange& change : table)
        kinds_.insert(kinds_.end(), change.weight, &change);
  }

  std::string change(WorkTree& tree) {
    for (auto files = tree.files(); files.size() > kMostFiles; files = tree.files())
      for (int i = 0; i < 10; ++i) tree.remove(tree.oneOf(files));
    // Most changes are of the working folder: a change of the index has the whole read.
    const WorkTreeChange* kind = tree.oneOf(kinds_);
    if (tree.chance(50)) kind = &fileTreeChanges()[tree.below(fileTreeChanges().size())];
    kind->apply(tree);
    ++applied_;
    return std::string(kind->name);
  }

  // Changes one working copy so many times, or until its status is wrong.
  void changeOne(std::uint64_t changes) {
    KeptStatus kept(random_);
    std::vector<std::string> history = {kept.tree().layout()};
    for (std::uint64_t end = applied_ + changes; applied_ < end && !HasFailure();) {
      std::string what = change(kept.tree());
      while (kept.tree().chance(25)) what += "; " + change(kept.tree());
      kept.keep([&] {
        if (kept.tree().chance(20)) what += "; meanwhile " + change(kept.tree());
      });
      history.push_back(what);
      const std::optional<std::string> difference = kept.difference();
      if (!difference) break;  // the next one is sound again
      ++compared_;
      EXPECT_EQ(kept.unwatched(), std::vector<std::string>()) << "after " << applied_ << " changes";
      EXPECT_EQ(*difference, "") << "after " << applied_ << " changes";
    }
    for (const auto& [why, count] : kept.readings()) readings_[why] += count;
    if (!HasFailure()) return;
    for (const std::string& what : history) std::cout << what << '\n';
  }

  const std::uint64_t seed_;
  WorkTree::Random random_;
  std::vector<const WorkTreeChange*> kinds_;
  std::map<std::string, int> readings_;
  std::uint64_t applied_ = 0;
  std::uint64_t compared_ = 0;
};

TEST_F(RandomParts, TheStatusIsWhatGitTellsOfTheWhole) {
  const std::uint64_t changes = numberFrom("KELPIE_RANDOM_CHANGES", kChanges);
  while (applied_ < changes && !HasFailure())
    changeOne(std::min<std::uint64_t>(kChangesOfATree, changes - applied_));
  for (const auto& [why, count] : readings_)
    std::cout << count << "  " << (why.empty() ? "in parts" : why) << '\n';
  std::cout << applied_ << " changes, compared " << compared_ << " times\n";
  EXPECT_GT(readings_[""], 0) << "nothing was read in parts: the test has shown nothing";
}

}  // namespace
}  // namespace kelpie::agent
