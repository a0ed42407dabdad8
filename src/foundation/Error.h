#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/Object.h"

namespace kelpie {

// An error value as it travels to the main application: `NSError` in an archive.
struct Error {
  std::string domain;
  std::int64_t code = 0;
  Object userInfo;  // a dictionary, or nil
};

// The domain of the errors that this system makes.
inline constexpr std::string_view kGitErrorDomain = "KPGitErrorDomain";
// The keys of an error's user information: a short description, and the detail.
inline constexpr std::string_view kLocalizedDescriptionKey = "NSLocalizedDescription";
inline constexpr std::string_view kLocalizedRecoverySuggestionErrorKey =
    "NSLocalizedRecoverySuggestion";

}  // namespace kelpie
