#include "cli/doctor/DoctorReport.h"

#include <algorithm>
#include <utility>

namespace kelpie::cli {

void DoctorReport::good(std::string_view topic, std::string text) {
  findings_.push_back({Level::Good, topic, std::move(text), ""});
}

void DoctorReport::warning(std::string_view topic, std::string text, std::string advice) {
  findings_.push_back({Level::Warning, topic, std::move(text), std::move(advice)});
}

void DoctorReport::problem(std::string_view topic, std::string text, std::string advice) {
  findings_.push_back({Level::Problem, topic, std::move(text), std::move(advice)});
}

bool DoctorReport::hasProblem() const {
  return std::ranges::any_of(
      findings_, [](const Finding& finding) { return finding.level == Level::Problem; });
}

}  // namespace kelpie::cli
