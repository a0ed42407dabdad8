#include "cli/text/TitleFit.h"

#include <string>

namespace kelpie::cli {
namespace {

constexpr std::string_view kMoreFollows = "…";
constexpr std::string_view kDots = "...";

std::string folded(std::string_view title) {
  if (title.ends_with(kMoreFollows))
    title.remove_suffix(kMoreFollows.size());
  else if (title.ends_with(kDots))
    title.remove_suffix(kDots.size());
  std::string text(title);
  for (char& letter : text)
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  return text;
}

}  // namespace

TitleFit titleFit(std::string_view wanted, std::string_view title) {
  if (wanted == title) return TitleFit::Exact;
  const std::string beginning = folded(wanted);
  const std::string whole = folded(title);
  if (beginning == whole) return TitleFit::Alike;
  return !beginning.empty() && whole.starts_with(beginning) ? TitleFit::Begins : TitleFit::None;
}

}  // namespace kelpie::cli
