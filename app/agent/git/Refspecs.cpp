#include "agent/git/Refspecs.h"

#include <cstddef>

namespace kelpie::agent {
namespace {

// `name` by a pattern with one '*' at most, rewritten to another that has as many.
std::optional<std::string> mapped(std::string_view name, std::string_view from,
                                  std::string_view to) {
  const std::size_t fromStar = from.find('*');
  const std::size_t toStar = to.find('*');
  if ((fromStar == std::string_view::npos) != (toStar == std::string_view::npos))
    return std::nullopt;
  if (fromStar == std::string_view::npos)
    return name == from ? std::optional<std::string>(to) : std::nullopt;
  const std::string_view head = from.substr(0, fromStar);
  const std::string_view tail = from.substr(fromStar + 1);
  if (name.size() <= head.size() + tail.size() || !name.starts_with(head) || !name.ends_with(tail))
    return std::nullopt;
  std::string result(to.substr(0, toStar));
  result += name.substr(head.size(), name.size() - head.size() - tail.size());
  return result.append(to.substr(toStar + 1));
}

}  // namespace

std::optional<std::string> nameOnRemote(const std::vector<std::string>& fetchRefspecs,
                                        std::string_view fullName) {
  for (std::string_view refspec : fetchRefspecs) {
    if (refspec.starts_with('^')) continue;
    if (refspec.starts_with('+')) refspec.remove_prefix(1);
    const std::size_t colon = refspec.find(':');
    if (colon == std::string_view::npos) continue;
    if (auto name = mapped(fullName, refspec.substr(colon + 1), refspec.substr(0, colon)))
      return name;
  }
  return std::nullopt;
}

}  // namespace kelpie::agent
