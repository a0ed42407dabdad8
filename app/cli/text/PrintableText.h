#pragma once

#include <string>
#include <string_view>

namespace kelpie::cli {

// Bytes of others (file names, titles, messages) as text that cannot steer a terminal: control
// characters, marks that change the direction of writing and bytes that are not UTF-8 stand as
// "\xNN", one for each byte. Where the locale is not UTF-8 (`utf8` false) so does all that is not
// ASCII, but for the ellipsis, which is written as three full stops. Any thread.
std::string printableText(std::string_view bytes, bool utf8);

}  // namespace kelpie::cli
