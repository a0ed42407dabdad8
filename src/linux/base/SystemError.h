#pragma once

#include <string>
#include <string_view>

namespace kelpie {

// "WHAT: the system's text for the error number", for a log line. Any thread.
std::string systemErrorText(std::string_view what, int errorNumber);

}  // namespace kelpie
