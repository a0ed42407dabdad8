#include "foundation/UrlSyntax.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace kelpie {
namespace {

// The sets of characters of RFC 3986, a bit each.
enum CharacterSet : std::uint8_t {
  kAlpha = 1 << 0,
  kDigit = 1 << 1,
  kHexDigit = 1 << 2,
  kSchemeMark = 1 << 3,
  kUnreservedMark = 1 << 4,
  kSubDelimiter = 1 << 5,
  kWhiteSpace = 1 << 6,
  kPathMark = 1 << 7,
};
constexpr unsigned kUnreserved = kAlpha | kDigit | kUnreservedMark;
constexpr unsigned kRegName = kUnreserved | kSubDelimiter;

constexpr std::array<std::uint8_t, 256> makeCharacterTable() {
  std::array<std::uint8_t, 256> table{};
  const auto enter = [&table](std::string_view characters, CharacterSet set) {
    for (const char c : characters) {
      std::uint8_t& sets = table.at(static_cast<std::uint8_t>(c));
      sets = static_cast<std::uint8_t>(sets | set);
    }
  };
  enter("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ", kAlpha);
  enter("0123456789", kDigit);
  enter("0123456789abcdefABCDEF", kHexDigit);
  enter("+-.", kSchemeMark);
  enter("-._~", kUnreservedMark);
  enter("!$&'()*+,;=", kSubDelimiter);
  enter(kUrlWhiteSpace, kWhiteSpace);
  enter(":@/", kPathMark);
  return table;
}

constexpr std::array<std::uint8_t, 256> kCharacterTable = makeCharacterTable();

bool isIn(char character, unsigned sets) {
  return (kCharacterTable.at(static_cast<std::uint8_t>(character)) & sets) != 0;
}

// Whether `text` consists of characters of `sets`, of `others`, and of whole `%xx`.
bool consistsOf(std::string_view text, unsigned sets, std::string_view others) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isIn(text[i], sets) || others.find(text[i]) != std::string_view::npos) continue;
    if (text[i] != '%' || text.size() - i < 3) return false;
    if (!isIn(text[i + 1], kHexDigit) || !isIn(text[i + 2], kHexDigit)) return false;
    i += 2;
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isIn(text[0], kAlpha) &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return isIn(c, kAlpha | kDigit | kSchemeMark); });
}

// An address in brackets, such as "[::1]". The address itself is not checked.
bool isIpLiteral(std::string_view host) {
  if (host.size() < 3 || host.front() != '[' || host.back() != ']') return false;
  const std::string_view address = host.substr(1, host.size() - 2);
  return address.find('%') == std::string_view::npos && consistsOf(address, kRegName, ":");
}

// The host of `[user@]host[:port]`; absent when that is not what `authority` is.
std::optional<std::string_view> hostOf(std::string_view authority) {
  if (const std::size_t at = authority.find('@'); at != std::string_view::npos) {
    if (!consistsOf(authority.substr(0, at), kRegName, ":")) return std::nullopt;
    authority.remove_prefix(at + 1);
  }
  const std::size_t bracket = authority.rfind(']');
  const std::size_t colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
  const std::string_view host = authority.substr(0, colon);
  if (colon != std::string_view::npos) {
    const std::string_view port = authority.substr(colon + 1);
    if (!std::all_of(port.begin(), port.end(), [](char c) { return isIn(c, kDigit); }))
      return std::nullopt;
  }
  if (!isIpLiteral(host) && !consistsOf(host, kRegName, "")) return std::nullopt;
  return host;
}

// Cuts `text` at the first `mark`; what follows the mark, absent when there is none.
std::optional<std::string_view> cutAt(std::string_view& text, char mark) {
  const std::size_t position = text.find(mark);
  if (position == std::string_view::npos) return std::nullopt;
  const std::string_view rest = text.substr(position + 1);
  text = text.substr(0, position);
  return rest;
}

// What a reference without a path's first slash is appended to: `base` up to its last slash.
std::string mergedPath(const UrlParts& base, std::string_view path) {
  if (base.authority && base.path.empty()) return "/" + std::string(path);
  const std::size_t slash = base.path.rfind('/');
  std::string merged(base.path.substr(0, slash == std::string_view::npos ? 0 : slash + 1));
  merged += path;
  return merged;
}

// `path` without its "." and ".." segments; what leads above the root stays at the root.
std::string withoutDotSegments(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    const bool absolute = path.front() == '/';
    const std::size_t end = path.find('/', absolute ? 1 : 0);
    const std::string_view segment = path.substr(0, end);
    const std::string_view name = absolute ? segment.substr(1) : segment;
    path.remove_prefix(segment.size());
    if (name != "." && name != "..") {
      result += segment;
      continue;
    }
    if (name == "..") {
      const std::size_t last = result.rfind('/');
      result.erase(last == std::string::npos ? 0 : last);
    }
    // A dot segment at the end leaves the slash in front of it.
    if (path.empty() && absolute) result += '/';
    if (!absolute && !path.empty()) path.remove_prefix(1);
  }
  return result;
}

}  // namespace

std::optional<UrlParts> parseUrl(std::string_view text, WhiteSpace whiteSpace) {
  if (text.empty()) return std::nullopt;
  UrlParts parts;
  parts.fragment = cutAt(text, '#');
  parts.query = cutAt(text, '?');
  const std::size_t schemeEnd = text.find_first_of(":/");
  if (schemeEnd != std::string_view::npos && text[schemeEnd] == ':' &&
      isScheme(text.substr(0, schemeEnd))) {
    parts.scheme = text.substr(0, schemeEnd);
    text.remove_prefix(schemeEnd + 1);
  }
  if (text.starts_with("//")) {
    const std::size_t end = text.find('/', 2);
    parts.authority = text.substr(2, end == std::string_view::npos ? end : end - 2);
    text.remove_prefix(2 + parts.authority->size());
    const auto host = hostOf(*parts.authority);
    if (!host) return std::nullopt;
    parts.host = *host;
  }
  parts.path = text;
  const bool lenient =
      whiteSpace == WhiteSpace::AllowedInReferences && !parts.scheme && !parts.authority;
  const unsigned sets = kRegName | (lenient ? static_cast<unsigned>(kWhiteSpace) : 0U);
  const bool valid = consistsOf(parts.path, sets, ":@/") &&
                     consistsOf(parts.query.value_or(""), sets, ":@/?") &&
                     consistsOf(parts.fragment.value_or(""), sets, ":@/?");
  return valid ? std::optional(parts) : std::nullopt;
}

std::string resolveUrl(const UrlParts& base, const UrlParts& reference) {
  UrlParts target = reference;
  std::string path;
  if (reference.scheme || reference.authority || reference.path.starts_with('/')) {
    path = withoutDotSegments(reference.path);
  } else if (reference.path.empty()) {
    path = std::string(base.path);
    if (!reference.query) target.query = base.query;
  } else {
    path = withoutDotSegments(mergedPath(base, reference.path));
  }
  if (!reference.scheme) {
    target.scheme = base.scheme;
    if (!reference.authority) target.authority = base.authority;
  }
  std::string text;
  if (target.scheme) text.append(*target.scheme).append(":");
  if (target.authority) text.append("//").append(*target.authority);
  text += path;
  if (target.query) text.append("?").append(*target.query);
  if (target.fragment) text.append("#").append(*target.fragment);
  return text;
}

std::string percentDecoded(std::string_view text) {
  const auto valueOf = [](char digit) {
    if (isIn(digit, kDigit)) return digit - '0';
    return (digit | 0x20) - 'a' + 10;
  };
  std::string decoded;
  decoded.reserve(text.size());
  while (true) {
    const std::size_t percent = std::min(text.find('%'), text.size());
    decoded += text.substr(0, percent);
    text.remove_prefix(percent);
    if (text.empty()) return decoded;
    if (text.size() >= 3 && isIn(text[1], kHexDigit) && isIn(text[2], kHexDigit)) {
      decoded += static_cast<char>((valueOf(text[1]) << 4) | valueOf(text[2]));
      text.remove_prefix(3);
    } else {
      decoded += '%';
      text.remove_prefix(1);
    }
  }
}

std::string percentEncodedPath(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto isPlain = [](char c) { return isIn(c, kRegName | kPathMark); };
  std::string encoded;
  encoded.reserve(bytes.size());
  const char* next = bytes.begin();
  while (true) {
    const char* const end = std::find_if_not(next, bytes.end(), isPlain);
    encoded.append(next, end);
    if (end == bytes.end()) break;
    const auto byte = static_cast<std::uint8_t>(*end);
    encoded += '%';
    encoded += kDigits[byte >> 4];
    encoded += kDigits[byte & 0x0F];
    next = end + 1;
  }
  return encoded;
}

}  // namespace kelpie
