#include "cli/output/Console.h"

#include <langinfo.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <ostream>

#include "foundation/PrintableText.h"

namespace kelpie::cli {
namespace {

// The parameters of the "select graphic rendition" sequence, in the order of Colour.
constexpr std::string_view kRenditions[] = {"", "1", "2", "31", "32", "33", "34", "35", "36"};

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

Console::Console(std::ostream& out, std::ostream& err, Traits traits)
    : out_(out), err_(err), traits_(traits) {}

Console::Traits Console::traitsOfProcess() {
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
  return {::isatty(STDOUT_FILENO) == 1 && !isDumb,
          std::string_view(::nl_langinfo(CODESET)) == "UTF-8", isSet("NO_COLOR")};
}

bool Console::usesColour() const {
  if (choice_ != ColourChoice::Auto) return choice_ == ColourChoice::Always;
  return traits_.isTerminal && !traits_.refusesColour;
}

std::string Console::paint(Colour colour, std::string_view text) const {
  thread_.check();
  if (colour == Colour::Plain || !usesColour()) return std::string(text);
  std::string painted = "\033[";
  painted += kRenditions[static_cast<std::size_t>(colour)];
  painted += 'm';
  painted += text;
  painted += "\033[0m";
  return painted;
}

std::string Console::printable(std::string_view bytes) const {
  return printableText(bytes, traits_.isUtf8);
}

void Console::complain(std::string_view text) {
  thread_.check();
  out_.flush();
  err_ << "kelpie: " << text << '\n' << std::flush;
}

}  // namespace kelpie::cli
