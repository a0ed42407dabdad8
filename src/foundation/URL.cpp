#include "foundation/URL.h"

#include <algorithm>
#include <utility>

#include "foundation/UrlSyntax.h"

namespace kelpie {
namespace {

// How many bases may stand behind one another. Real URLs have one; an archive may claim any number.
constexpr int kMaximumBases = 64;

std::string lowercase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower)
    if ('A' <= c && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

void removeTrailingSlashes(std::string& path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
}

// Absolute, with single slashes and none at the end.
std::string plainPath(std::string_view path) {
  if (path.starts_with('/') && path.find("//") == std::string_view::npos) {
    std::string plain(path);
    removeTrailingSlashes(plain);
    return plain;
  }
  std::string plain = "/";
  plain.reserve(path.size() + 1);
  for (const char c : path)
    if (c != '/' || plain.back() != '/') plain += c;
  removeTrailingSlashes(plain);
  return plain;
}

}  // namespace

// What all copies of one URL share. The parts that are asked for often are made once.
struct URL::Rep {
  std::string text;
  std::shared_ptr<const Rep> base;
  int bases = 0;         // how many stand behind one another
  std::string resolved;  // against the base; empty when there is none
  std::string path;
  bool isFile = false;

  const std::string& absolute() const { return base == nullptr ? text : resolved; }
};

std::optional<URL> URL::fromString(std::string_view text, const std::optional<URL>& base) {
  const auto whiteSpace = base ? WhiteSpace::Refused : WhiteSpace::AllowedInReferences;
  auto parts = parseUrl(text, whiteSpace);
  if (!parts) return std::nullopt;
  auto rep = std::make_shared<Rep>();
  rep->text = std::string(text);
  if (base) {
    rep->base = base->rep_;
    rep->bases = base->rep_->bases + 1;
    if (rep->bases > kMaximumBases) return std::nullopt;
    const auto baseParts = parseUrl(base->absoluteString(), WhiteSpace::AllowedInReferences);
    if (!baseParts) return std::nullopt;
    rep->resolved = resolveUrl(*baseParts, *parts);
    // The parts of the result: they also tell whether it still is a URL.
    parts = parseUrl(rep->resolved, WhiteSpace::AllowedInReferences);
    if (!parts) return std::nullopt;
  }
  rep->path = percentDecoded(parts->path);
  removeTrailingSlashes(rep->path);
  rep->isFile = parts->scheme && lowercase(*parts->scheme) == "file";
  return URL(std::move(rep));
}

URL URL::fileURLWithPath(std::string_view path, bool isDirectory) {
  auto rep = std::make_shared<Rep>();
  rep->path = plainPath(path);
  rep->text = "file://" + percentEncodedPath(rep->path);
  if (isDirectory && rep->path != "/") rep->text += '/';
  rep->isFile = true;
  return URL(std::move(rep));
}

const std::string& URL::relativeString() const { return rep_->text; }

std::optional<URL> URL::base() const {
  return rep_->base == nullptr ? std::nullopt : std::optional(URL(rep_->base));
}

const std::string& URL::absoluteString() const { return rep_->absolute(); }

std::string URL::scheme() const {
  const auto parts = parseUrl(rep_->absolute(), WhiteSpace::AllowedInReferences);
  return parts && parts->scheme ? lowercase(*parts->scheme) : "";
}

std::string URL::host() const {
  const auto parts = parseUrl(rep_->absolute(), WhiteSpace::AllowedInReferences);
  return parts ? percentDecoded(parts->host) : "";
}

bool URL::isFileURL() const { return rep_->isFile; }

const std::string& URL::path() const { return rep_->path; }

std::string_view URL::lastPathComponent() const {
  const std::string_view path = rep_->path;
  if (path == "/") return path;
  return path.substr(path.rfind('/') + 1);
}

std::optional<URL> URL::deletingLastPathComponent() const {
  const std::string_view path = rep_->path;
  if (!rep_->isFile || !path.starts_with('/') || path == "/") return std::nullopt;
  return fileURLWithPath(path.substr(0, path.rfind('/') + 1), true);
}

std::size_t URL::hash() const { return std::hash<std::string>()(rep_->absolute()); }

}  // namespace kelpie
