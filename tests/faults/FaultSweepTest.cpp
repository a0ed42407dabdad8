#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "faults/FaultErrors.h"
#include "faults/FaultSession.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

// Those that a session starts; the second word is the argument.
const std::vector<std::string> kPrograms = {"kelpie-agent", "kelpie-sync", "kelpie folders",
                                            "kelpie-agent --undo"};
constexpr unsigned kSeed = 7;
// Of the faults of a program, so many are tried in an ordinary run.
constexpr std::size_t kSample = 6;
// Memory is asked for thousands of times, and to write down each of them takes seconds: which of
// these fail in an ordinary run is taken from this many.
constexpr const char* kMemory = "malloc";
constexpr long kSampleOfMemory = 300;

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// How many calls of the kind fail in a row.
long times() {
  const std::string wanted = variable("KELPIE_FAULTS_TIMES");
  return wanted.empty() ? 1 : std::stol(wanted);
}

// A call that a session without a fault has made.
struct Call {
  std::string kind;
  long number = 0;
  std::string place;
};

std::vector<Call> callsIn(const std::string& trace) {
  std::vector<Call> calls;
  std::ifstream file(trace);
  std::string line;
  while (std::getline(file, line)) {
    std::istringstream fields(line);
    std::string program;
    Call call;
    std::getline(fields, program, '\t');
    std::getline(fields, call.kind, '\t');
    fields >> call.number >> call.place;
    calls.push_back(call);
  }
  return calls;
}

// What a test chooses from: every call, or one for each of the places that make it.
enum class Extent { Sample, Places, All };

Extent extent() {
  const std::string wanted = variable("KELPIE_FAULTS");
  return wanted == "all" ? Extent::All : wanted == "places" ? Extent::Places : Extent::Sample;
}

class Faults : public testing::TestWithParam<std::string> {
 protected:
  // Runs the session once without a fault, for what is usual and for the calls that it makes.
  void count() {
    const bool isSample = extent() == Extent::Sample;
    usual_ =
        FaultSession({GetParam(), "none", 0, "0", 1, isSample ? kMemory : ""}, trace_ / "calls")
            .run(nullptr);
    for (const std::string& problem : usual_.problems) ADD_FAILURE() << problem;
    for (const std::string& cost : usual_.costs) ADD_FAILURE() << "done again: " << cost;
    calls_ = callsIn(trace_ / "calls");
    EXPECT_FALSE(calls_.empty());
    for (long i = 1; isSample && i <= kSampleOfMemory; ++i)
      calls_.push_back({kMemory, i, std::to_string(i)});
  }

  std::vector<Fault> faults() const {
    std::vector<Fault> faults;
    std::set<std::pair<std::string, std::string>> seen;
    const std::string only = variable("KELPIE_FAULTS_CALL");
    for (const Call& call : calls_) {
      if (!only.empty() && !std::regex_match(call.kind, std::regex(only))) continue;
      const bool isNew = seen.emplace(call.kind, call.place).second;
      if (extent() != Extent::All && !isNew) continue;
      for (const std::string& error : FaultErrors::of(call.kind))
        faults.push_back({GetParam(), call.kind, call.number, error, times(), ""});
    }
    return extent() == Extent::Sample ? sampleOf(std::move(faults)) : shareOf(faults);
  }

  // Some of each kind of call, as there are thousands of the most frequent one.
  static std::vector<Fault> sampleOf(std::vector<Fault> faults) {
    std::mt19937 random(kSeed);
    std::shuffle(faults.begin(), faults.end(), random);
    std::map<std::string, std::size_t> turns;
    std::vector<std::pair<std::size_t, Fault>> inTurn;
    for (Fault& fault : faults) inTurn.emplace_back(turns[fault.call]++, std::move(fault));
    std::ranges::stable_sort(inTurn, {}, &std::pair<std::size_t, Fault>::first);
    if (inTurn.size() > kSample) inTurn.resize(kSample);
    std::vector<Fault> sample;
    for (auto& [turn, fault] : inTurn) sample.push_back(std::move(fault));
    return sample;
  }

  // The part that KELPIE_FAULTS_SHARE names, such as "0/2".
  static std::vector<Fault> shareOf(const std::vector<Fault>& faults) {
    const std::string share = variable("KELPIE_FAULTS_SHARE");
    const std::size_t slash = share.find('/');
    if (slash == std::string::npos) return faults;
    const std::size_t number = std::stoul(share);
    const std::size_t shares = std::stoul(share.substr(slash + 1));
    std::vector<Fault> part;
    for (std::size_t i = number; i < faults.size(); i += shares) part.push_back(faults[i]);
    return part;
  }

  // Whether it occurred.
  bool tryOut(const Fault& fault) {
    const FaultSession::Outcome outcome = FaultSession(fault, "").run(&usual_);
    const std::string name = fault.program + ": " + fault.call + " " + std::to_string(fault.at) +
                             ": " + FaultErrors::nameOf(fault.error);
    report(name, outcome);
    for (const std::string& problem : outcome.problems) ADD_FAILURE() << name << ": " << problem;
    return !outcome.report.empty();
  }

  TemporaryFolder trace_;
  FaultSession::Outcome usual_;
  std::vector<Call> calls_;

 private:
  static void report(const std::string& name, const FaultSession::Outcome& outcome) {
    const std::string file = variable("KELPIE_FAULTS_REPORT");
    if (file.empty()) return;
    std::ofstream text(file, std::ios::app);
    text << "== " << name << (outcome.report.empty() ? " (did not occur)" : "") << ", "
         << outcome.duration.count() << " ms\n";
    for (const std::string& problem : outcome.problems) text << "PROBLEM " << problem << '\n';
    for (const std::string& cost : outcome.costs) text << "cost " << cost << '\n';
    for (const auto& [program, log] : outcome.logs) {
      std::istringstream lines(log);
      for (std::string line; std::getline(lines, line);) text << program << "> " << line << '\n';
    }
    if (!outcome.told.empty()) text << "told " << outcome.told << '\n';
    if (!outcome.problems.empty()) text << outcome.report;
  }
};

TEST_P(Faults, CostALineAndNothingElse) {
  ASSERT_NO_FATAL_FAILURE(count());
  std::size_t occurred = 0;
  const std::vector<Fault> chosen = faults();
  for (const Fault& fault : chosen) occurred += tryOut(fault) ? 1U : 0U;
  std::cout << GetParam() << ": " << calls_.size() << " calls, " << chosen.size()
            << " faults, of which " << occurred << " occurred; a session takes "
            << usual_.duration.count() << " ms\n";
  // What one session calls, the next one does not always.
  EXPECT_GE(2 * occurred, chosen.size());
}

INSTANTIATE_TEST_SUITE_P(Programs, Faults, testing::ValuesIn(kPrograms), [](const auto& program) {
  std::string name = program.param;
  std::erase_if(name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; });
  return name;
});

}  // namespace
}  // namespace kelpie
