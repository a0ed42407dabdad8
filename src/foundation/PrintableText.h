#pragma once

#include <string>
#include <string_view>

namespace kelpie {

// Texts of others (names, titles, messages: bytes) made fit to be shown. What could pass for
// something else is taken out: control characters and line ends, marks that change the direction of
// writing, bytes that are not UTF-8. Ordinary text stays as it is. Any thread.

// Whether a UTF-8 sequence of one character is none of these.
bool isPrintable(std::string_view sequence);

// Each byte of these stands as "\xNN". For terminals, and for a name within a text. Where the
// locale is not UTF-8 (`utf8` false) so does all that is not ASCII, but for the ellipsis, which is
// written as three full stops.
std::string printableText(std::string_view bytes, bool utf8 = true);

// The same for a text of several lines, which stay lines: the system's own, in which every name
// went through printableText(), or what a program has said.
std::string printableLines(std::string_view bytes);

// Each of these is U+FFFD, for the titles of menus.
std::string printableTitle(std::string_view bytes);

}  // namespace kelpie
