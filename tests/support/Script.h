#pragma once

#include <string>
#include <string_view>

namespace kelpie {

// Puts a script for the shell at `path`, which its owner may run; makes the folders above. One that
// was there is replaced at once: a program that is being started cannot be written to, so that the
// former one would stay.
void putScript(const std::string& path, std::string_view body);

}  // namespace kelpie
