#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "foundation/ThreadBound.h"

namespace kelpie::cli {

// When colours are used: on a terminal that wants them, or as the user says.
enum class ColourChoice : std::uint8_t { Auto, Always, Never };

enum class Colour : std::uint8_t { Plain, Bold, Dim, Red, Green, Yellow, Blue, Magenta, Cyan };

// Where the program writes, and what may be written there. Main thread.
class Console {
 public:
  // What is known of standard output and of the user's wishes.
  struct Traits {
    bool isTerminal = false;     // and one that knows colours
    bool isUtf8 = true;          // of the locale
    bool refusesColour = false;  // NO_COLOR is set
  };

  // The streams outlive the console.
  Console(std::ostream& out, std::ostream& err, Traits traits);

  // Of this process: its standard output, its locale (to be set before), NO_COLOR and TERM.
  static Traits traitsOfProcess();

  std::ostream& out() { return out_; }
  bool isUtf8() const { return traits_.isUtf8; }
  void setColour(ColourChoice choice) { choice_ = choice; }
  bool usesColour() const;

  // `text` in that colour, or as it is where there are no colours.
  std::string paint(Colour colour, std::string_view text) const;
  // Text of others (bytes), safe to print here; see printableText().
  std::string printable(std::string_view bytes) const;
  // Writes "kelpie: TEXT" as one line to standard error. `text` is printable.
  void complain(std::string_view text);

 private:
  std::ostream& out_;
  std::ostream& err_;
  Traits traits_;
  ColourChoice choice_ = ColourChoice::Auto;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
