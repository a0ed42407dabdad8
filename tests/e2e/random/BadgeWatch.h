#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "e2e/GitSession.h"
#include "e2e/random/GitTruth.h"
#include "e2e/random/PatientHost.h"

namespace kelpie {

// Holds the badges that a patient file manager was given to what git says. One thread.
class BadgeWatch {
 public:
  // Milliseconds from the end of git's answer to the moment at which the last badge was right.
  struct Latencies {
    std::size_t count = 0;  // steps in which a badge had to change
    double median = 0;
    double p95 = 0;
    double longest = 0;
    int longestStep = 0;
  };

  // `folder` holds the working copies with these roots; all are shown.
  BadgeWatch(const GitSession& session, std::string folder, std::vector<std::string> roots);

  // Connects the file manager, also anew. False when nobody serves it.
  bool connect(int step);
  // The programs have forgotten everything.
  void programsStarted(int step) { startedAt_ = step; }
  // Waits until every badge is what git says now, and, where `lasting`, still is after a while.
  // Otherwise fails the test and says what differs.
  bool settle(int step, const std::string& what, bool lasting);

  Latencies latencies() const;
  // How often a folder had a badge for which the rules leave two.
  std::size_t ambiguous() const { return ambiguous_; }
  // How many badges were held to git's words, and how many of them stayed wrong.
  std::size_t compared() const { return compared_; }
  std::size_t wrong() const { return wrongItems_.size(); }
  // The items whose badges these are, by path.
  const std::set<std::string>& wrongItems() const { return wrongItems_; }
  // What the file manager was told last for an item; "none" when it was told nothing.
  std::string badgeOf(const std::string& path) const;

 private:
  using Clock = PatientHost::Clock;
  using Expected = std::map<std::string, std::set<std::string>>;  // by path

  void readTruth(int step);
  Expected expectedOf(const PatientHost::Items& items);
  GitTruth::Knowledge knowledgeOf(const std::string& path, const PatientHost::Items& items,
                                  const std::string& root) const;
  bool waitUntilRight(const Expected& expected, Clock::time_point end);
  void note(int step, const PatientHost::Items& before, const Expected& expected,
            Clock::time_point told);
  void listFiles(const std::string& folder, std::ostream& text) const;
  void complain(int step, const std::string& what, const Expected& expected);

  const GitSession& session_;
  const std::vector<std::string> roots_;
  PatientHost host_;
  struct Told {
    std::unique_ptr<GitTruth> truth;  // null while there is no repository
    int changedAt = 0;                // the step in which git said something else than before
  };
  std::map<std::string, Told> told_;  // by root
  int startedAt_ = 0;
  std::vector<std::pair<double, int>> latencies_;  // with the step
  std::size_t ambiguous_ = 0;
  std::size_t compared_ = 0;
  std::set<std::string> wrongItems_;
};

}  // namespace kelpie
