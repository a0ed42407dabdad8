#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kelpie {

// A figure at all checkpoints of a soak, and what it has to be like.
struct SoakSeries {
  // How the figures are judged. Those of the warm-up, the first ones, are not.
  enum class Rule {
    Shown,   // not at all
    Same,    // each is the first that is judged
    AtMost,  // each is at most `bound`
    // The middle one of the last third is at most `bound` above that of the first third. Fewer than
    // kEnough figures are not judged: they say nothing.
    Flat,
  };
  static constexpr std::size_t kEnough = 9;

  std::string process;  // whose
  std::string figure;   // such as "descriptors"
  Rule rule = Rule::Shown;
  double bound = 0;
  std::vector<double> values;
};

// What came of it.
struct SoakVerdict {
  bool isJudged = false;
  std::string finding;  // for people: what was compared
  bool isRight = true;
};

// `warmUp` figures at the start are not judged.
SoakVerdict judge(const SoakSeries& series, std::size_t warmUp);

}  // namespace kelpie
