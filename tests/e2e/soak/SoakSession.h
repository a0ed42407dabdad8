#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "e2e/random/RandomSession.h"
#include "e2e/soak/Baseline.h"
#include "e2e/soak/ProcessFigures.h"
#include "e2e/soak/SoakJudge.h"
#include "e2e/soak/VisitingHosts.h"

namespace kelpie {

// A random session that goes on for long: file managers come and go, working copies are added,
// moved and removed, the settings change. Now and then all is made as it was at first, and what the
// programs hold then is written down. What goes wrong fails the test. One thread.
class SoakSession {
 public:
  // What was done between two checkpoints, and what the programs held at the second.
  struct Checkpoint {
    double minutes = 0;  // since the start; those below are so far, too
    std::size_t changes = 0;
    std::size_t compared = 0;  // badges
    std::size_t wrong = 0;
    std::size_t ended = 0;     // programs
    std::size_t hosts = 0;     // file managers that came
    std::size_t vanished = 0;  // of these: in the midst of something
    std::size_t copies = 0;    // times that a working copy came, went or was moved
    std::size_t actions = 0;   // chosen from menus
    ProcessFigures agent;
    ProcessFigures extension;
    std::size_t agentLines = 0;  // of the log of the process that runs now
    std::size_t extensionLines = 0;
    std::size_t runtimeEntries = 0;  // files and folders where the sockets are
    std::size_t temporaryEntries = 0;
    std::size_t homeEntries = 0;  // without the working copies
    std::size_t settingsBytes = 0;
  };

  struct Options {
    Programs::Mortal mortal = Programs::Mortal::Neither;  // who is ended now and then
    unsigned percent = Programs::kPercent;  // of how many steps something happens to the programs
    int errands = 1;                        // that are run before each checkpoint
  };

  SoakSession(std::uint64_t seed, const Options& options);

  // Starts, and makes the first checkpoint. False when something is wrong.
  bool start();
  // A step of random changes, held to git. False when something is wrong.
  bool step();
  // Makes all as it was at the start, waits until the programs are at rest, and writes down what
  // they hold. False when something is wrong.
  bool rest();

  const std::vector<Checkpoint>& checkpoints() const { return checkpoints_; }
  // The figures of all checkpoints, and what they have to be like.
  std::vector<SoakSeries> series() const;
  std::string account() { return random_.account(); }

 private:
  using Clock = std::chrono::steady_clock;

  std::string changeSurroundings();
  std::string changeGuests();
  std::vector<std::string> folders();
  bool restoreAll();
  bool runErrands();
  bool waitForStatus(const Playground& place, const std::string& wanted);
  void waitUntilAtRest();
  bool areAsBefore(const ProcessFigures& agent, const ProcessFigures& extension) const;
  void writeDown();
  void addSeries(const std::string& name, ProcessFigures Checkpoint::*figures,
                 std::size_t Checkpoint::*lines, bool lives, std::vector<SoakSeries>& all) const;
  std::vector<double> figures(const std::function<double(const Checkpoint&)>& of) const;

  const Options options_;
  const Clock::time_point start_ = Clock::now();
  RandomSession random_;
  std::string temporary_;
  VisitingHosts visitors_;
  std::vector<Baseline> baselines_;
  std::vector<Checkpoint> checkpoints_;
  std::size_t copies_ = 0;
  std::size_t actions_ = 0;
};

}  // namespace kelpie
