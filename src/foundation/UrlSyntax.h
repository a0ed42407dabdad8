#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelpie {

// The text side of URL: RFC 3986, bytes in and bytes out. No file system, no state. Any thread.

// A URL text taken apart. The views borrow from the text. A missing part differs from an empty one.
struct UrlParts {
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> authority;  // user information, host and port
  std::string_view host;                      // empty when there is no authority
  std::string_view path;
  std::optional<std::string_view> query;
  std::optional<std::string_view> fragment;
};

// Whether white space may stand literally in a text that has neither scheme nor authority.
enum class WhiteSpace { Refused, AllowedInReferences };

// Absent when the text is empty or no URL by RFC 3986, with one extension: what precedes the first
// ":" need not be a scheme; when it cannot be one, the colon belongs to the path.
std::optional<UrlParts> parseUrl(std::string_view text, WhiteSpace whiteSpace);

// The text of the reference `reference` resolved against `base` (RFC 3986, section 5.2).
std::string resolveUrl(const UrlParts& base, const UrlParts& reference);

// `%xx` turned into bytes. A "%" without two hexadecimal digits stays.
std::string percentDecoded(std::string_view text);

// The path of a URL for these bytes: all but the characters that a path may hold literally turned
// into `%xx`.
std::string percentEncodedPath(std::string_view bytes);

// White space and line breaks as the scanner of remote addresses skips them.
inline constexpr std::string_view kUrlWhiteSpace = " \t\n\v\f\r";

}  // namespace kelpie
