#include "foundation/KPExtensions.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/Object.h"
#include "foundation/URL.h"
#include "foundation/UrlSyntax.h"
#include "platform/Bundle.h"

namespace kelpie {
namespace {

// Beyond what any file system takes as a path. It bounds the walk over the ancestors of a hostile
// path.
constexpr std::size_t kLongestPath = 16384;

// Reads `text` from its start, a token at a time. White space and line breaks before a token do not
// belong to it.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  // The text before the next `mark`, or before the end when there is none. May be empty.
  std::string_view scanUpTo(char mark) {
    skipWhiteSpace();
    const std::string_view token = rest_.substr(0, rest_.find(mark));
    rest_.remove_prefix(token.size());
    return token;
  }

  // Passes over the mark that ended the last token; false at the end of the text.
  bool skipMark() {
    if (rest_.empty()) return false;
    rest_.remove_prefix(1);
    return true;
  }

 private:
  void skipWhiteSpace() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kUrlWhiteSpace), rest_.size()));
  }

  std::string_view rest_;
};

}  // namespace

bool URL::isEqual(const Object& object, const FileSystem& files) const {
  const auto other = object.url();
  return other && isEqual(*other, files);
}

bool URL::isEqual(const URL& other, const FileSystem& files) const {
  if (isSameObject(other)) return true;
  if (isFileURL() && other.isFileURL()) {
    const auto own = identifier(files);
    return own && own == other.identifier(files);
  }
  return !isFileURL() && absoluteString() == other.absoluteString();
}

std::optional<FileIdentifier> URL::identifier(const FileSystem& files) const {
  return files.resourceValues(*this).identifier;
}

std::optional<Image> URL::icon(const FileSystem& files) const { return files.icon(*this); }

std::optional<std::string> URL::localizedName(const FileSystem& files) const {
  return files.localizedName(*this);
}

bool URL::isDirectory(const FileSystem& files) const {
  return files.resourceValues(*this).isDirectory;
}

bool URL::isPackage(const FileSystem& files) const { return files.resourceValues(*this).isPackage; }

bool URL::isSymbolicLink(const FileSystem& files) const {
  return files.resourceValues(*this).isSymbolicLink;
}

std::optional<URL> URL::parentUrl(const FileSystem& files) const { return files.parentUrl(*this); }

// The ancestors of `url` are compared by isEqual(), but each is looked at once: what is compared
// are file URLs that were made separately, so that their identifiers decide.
bool URL::isParentOfUrl(const URL& url, const FileSystem& files) const {
  if (!url.isFileURL() || url.path().size() > kLongestPath) return false;
  const ResourceValues own = files.resourceValues(*this);
  if (!own.isDirectory || !own.identifier) return false;
  const auto stop = parentUrl(files);
  const auto stopIdentifier = stop ? stop->identifier(files) : std::nullopt;

  auto identifierHere = stopIdentifier ? url.identifier(files) : std::nullopt;
  auto parent = url.parentUrl(files);
  // The first step may lead from a file reference to a longer path; later ones make it shorter.
  std::size_t length = std::numeric_limits<std::size_t>::max();
  while (parent && parent->path().size() < length) {
    if (identifierHere && identifierHere == stopIdentifier) return false;
    identifierHere = parent->identifier(files);
    if (identifierHere == own.identifier) return true;
    length = parent->path().size();
    parent = parent->parentUrl(files);
  }
  return false;
}

std::optional<URL> URL::spcSyntaxResolvedUrl() const {
  if (!scheme().empty() || !host().empty()) return *this;
  Scanner scanner(absoluteString());
  const std::string_view user = scanner.scanUpTo('@');
  if (user.empty() || !scanner.skipMark()) return *this;
  const std::string_view hostName = scanner.scanUpTo(':');
  if (hostName.empty() || !scanner.skipMark()) return *this;
  const std::string_view remotePath = scanner.scanUpTo('\n');
  if (remotePath.empty()) return *this;
  std::string text = "ssh://";
  return fromString(text.append(user).append("@").append(hostName).append("/").append(remotePath));
}

std::uint64_t uniqueNumber() {
  static std::atomic<std::uint64_t> next = 1;
  return next.fetch_add(1, std::memory_order_relaxed);
}

Image tagImage(const Bundle& bundle) {
  if (bundle.hasSystemSymbols()) return {"tag", Image::Source::SystemSymbol};
  return {"TagImage"};
}

}  // namespace kelpie
