#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/Error.h"

namespace kelpie {

// The error value for a failed file operation: in the platform's own domain where that has a code
// for it (nothing there, not permitted), else the system's number. Any thread.
Error fileError(int errorNumber);

// The domain of the platform's file errors, and the codes that bookmarks fail with.
inline constexpr std::string_view kCocoaErrorDomain = "NSCocoaErrorDomain";
inline constexpr std::int64_t kFileReadNoPermission = 257;
inline constexpr std::int64_t kFileReadCorrupt = 259;
inline constexpr std::int64_t kFileReadNoSuchFile = 260;

// An error of that code with a text for people.
Error cocoaError(std::int64_t code, std::string_view text);

}  // namespace kelpie
