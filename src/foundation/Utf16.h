#pragma once

#include <string>
#include <string_view>

#include "foundation/Bytes.h"

namespace kelpie {

// Between UTF-8 and the big-endian UTF-16 of property lists. Any thread.

// The text of `codeUnits`, two bytes each; U+FFFD for half a surrogate pair.
std::string utf8FromUtf16(ByteView codeUnits);

// Appends the code units of `text`; U+FFFD for each byte that is not UTF-8.
void appendUtf16(Bytes& codeUnits, std::string_view text);

// Whether every byte is ASCII.
bool isAscii(std::string_view text);

}  // namespace kelpie
