#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "cli/output/Console.h"

namespace kelpie::cli {

// How one badge looks in a terminal. No two badges share a glyph, so colour is never needed to
// tell them apart; signs in circles and double arrows stand for the index.
struct BadgeLook {
  std::string_view identifier;  // as the extension names it
  std::string_view glyph;       // one column wide
  std::string_view ascii;       // the glyph where the locale is not UTF-8
  std::string_view label;       // ASCII
  Colour colour;
};

// Every badge that shows something, in the order of their rank.
std::span<const BadgeLook> badgeLooks();

// The look of a badge; one with a blank glyph for an item that bears none, and one with a star for
// a badge that nobody here knows.
const BadgeLook& badgeLook(std::string_view identifier);
// Whether the identifier names a badge, and not its absence.
bool isBadge(std::string_view identifier);

// The columns of the longest label.
std::size_t widestLabel();
// "GLYPH LABEL", painted and padded to `width` columns of label.
std::string badgeText(const Console& console, std::string_view identifier, std::size_t width);

}  // namespace kelpie::cli
