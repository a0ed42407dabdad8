#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelpie {

// What the core must know of UTF-8. File names are bytes; whatever is shown or sent as text must be
// UTF-8. Any thread.

// The length of the UTF-8 sequence that `text` begins with, 1 to 4; 0 when it begins with none
// (also for overlong forms, surrogates and what lies beyond U+10FFFF) or is empty.
std::size_t utf8SequenceLength(std::string_view text);

bool isUtf8(std::string_view text);

// U+FFFD, which stands for what cannot be shown.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// `bytes` with U+FFFD in the place of each byte that is not part of a UTF-8 sequence: how a file
// name stands in a title.
std::string displayText(std::string_view bytes);

}  // namespace kelpie
