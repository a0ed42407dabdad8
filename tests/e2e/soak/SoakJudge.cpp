#include "e2e/soak/SoakJudge.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace kelpie {
namespace {

using Figures = std::vector<double>;

double middleOf(Figures figures) {
  std::ranges::sort(figures);
  const std::size_t half = figures.size() / 2;
  return figures.size() % 2 == 1 ? figures[half] : (figures[half - 1] + figures[half]) / 2;
}

std::string rounded(double number) {
  std::ostringstream out;
  out << std::llround(number);
  return out.str();
}

SoakVerdict judgeSame(const Figures& judged) {
  for (std::size_t i = 1; i < judged.size(); ++i)
    if (judged[i] != judged.front())
      return {true, rounded(judged.front()) + " at first, then " + rounded(judged[i]), false};
  return {true, rounded(judged.front()) + " each time", true};
}

SoakVerdict judgeMost(const Figures& judged, double bound) {
  const double most = std::ranges::max(judged);
  return {true, "at most " + rounded(most) + ", " + rounded(bound) + " allowed", most <= bound};
}

SoakVerdict judgeFlat(const Figures& judged, double bound) {
  if (judged.size() < SoakSeries::kEnough) return {false, "too few figures", true};
  const auto third = static_cast<std::ptrdiff_t>(judged.size() / 3);
  const double first = middleOf(Figures(judged.begin(), judged.begin() + third));
  const double last = middleOf(Figures(judged.end() - third, judged.end()));
  return {true,
          rounded(first) + " in the first third, " + rounded(last) + " in the last, " +
              rounded(first + bound) + " allowed",
          last <= first + bound};
}

}  // namespace

SoakVerdict judge(const SoakSeries& series, std::size_t warmUp) {
  if (series.rule == SoakSeries::Rule::Shown) return {false, "", true};
  if (series.values.size() <= warmUp) return {false, "too few figures", true};
  const Figures judged(series.values.begin() + static_cast<std::ptrdiff_t>(warmUp),
                       series.values.end());
  switch (series.rule) {
    case SoakSeries::Rule::Same:
      return judgeSame(judged);
    case SoakSeries::Rule::AtMost:
      return judgeMost(judged, series.bound);
    case SoakSeries::Rule::Flat:
      return judgeFlat(judged, series.bound);
    case SoakSeries::Rule::Shown:
      break;
  }
  return {};
}

}  // namespace kelpie
