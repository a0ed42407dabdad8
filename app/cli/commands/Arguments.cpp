#include "cli/commands/Arguments.h"

#include <charconv>

#include "cli/commands/ArgumentParser.h"

namespace kelpie::cli {

Arguments::Parsed Arguments::parse(const CommandInfo& command,
                                   const std::vector<std::string>& words) {
  return ArgumentParser(command).parse(words);
}

std::string_view Arguments::value(std::string_view option, std::string_view fallback) const {
  const auto found = options_.find(option);
  if (found == options_.end()) return fallback;
  return found->second;
}

namespace {

// The parser has looked at it before.
std::chrono::milliseconds millisecondsOf(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return std::chrono::milliseconds(number);
}

}  // namespace

std::chrono::milliseconds Arguments::wait() const { return millisecondsOf(value("wait", "2000")); }

std::chrono::milliseconds Arguments::limit() const {
  return millisecondsOf(value("limit", "600000"));
}

ColourChoice Arguments::colour() const {
  const std::string_view choice = value("color", "auto");
  if (choice == "always") return ColourChoice::Always;
  return choice == "never" ? ColourChoice::Never : ColourChoice::Auto;
}

}  // namespace kelpie::cli
