#pragma once

#include <benchmark/benchmark.h>

#include <vector>

#include "harness/PeakMemory.h"
#include "harness/Timing.h"

namespace kelpie {

// Rounds of a benchmark that is measured against a floor: each does the floor's work and the work
// itself, one after the other, so that both meet the same machine. Made before the first round.
class FloorRounds {
 public:
  explicit FloorRounds(benchmark::State& state) : state_(state) {}

  // Each is called once in a round.
  template <class Work>
  void floor(const Work& work) {
    floors_.push_back(timeOf(work));
  }
  template <class Work>
  void work(const Work& work) {
    times_.push_back(timeOf(work));
    state_.SetIterationTime(times_.back() / 1000);
  }

  // Of at least one round, in milliseconds.
  double medianFloor() const { return median(floors_); }
  double medianTime() const { return median(times_); }

  // After the last round: the medians, the ratio of the work's to the floor's, and what the rounds
  // took on top of what was held before them. `name` is what the work's time is printed as.
  void report(const char* name) const {
    state_.counters[name] = medianTime();
    state_.counters["floor_ms"] = medianFloor();
    state_.counters["ratio"] = medianTime() / medianFloor();
    state_.counters["peak_MB"] = peak_.growthInMegabytes();
  }

 private:
  template <class Work>
  static double timeOf(const Work& work) {
    const double start = milliseconds();
    work();
    return milliseconds() - start;
  }

  benchmark::State& state_;
  std::vector<double> floors_;
  std::vector<double> times_;
  PeakMemory peak_;
};

}  // namespace kelpie
