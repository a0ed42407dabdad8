#pragma once

#include <string>
#include <string_view>

namespace kelpie {

// The JSON text of the "showError:" message that goes out as a distributed notification when the
// message port itself has failed. `suggestion` says what went wrong, UTF-8. Any thread.
std::string appMessage(std::string_view suggestion);

// `text` as a JSON string, quotes included. Bytes that are not UTF-8 become U+FFFD, so that the
// result
// is valid whatever comes.
std::string jsonString(std::string_view text);

}  // namespace kelpie
