#include "support/FakeLog.h"

#include <string>

namespace kelpie {

constexpr std::string_view kPrefix = "log ";

void FakeLog::write(std::string_view line) { events_.add(std::string(kPrefix).append(line)); }

std::vector<std::string> FakeLog::lines() const {
  std::vector<std::string> lines = events_.linesWith(kPrefix);
  for (std::string& line : lines) line.erase(0, kPrefix.size());
  return lines;
}

}  // namespace kelpie
