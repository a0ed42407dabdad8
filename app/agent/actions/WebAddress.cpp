#include "agent/actions/WebAddress.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace kelpie::agent {
namespace {

bool isPlain(std::string_view text) {
  return std::ranges::all_of(text, [](unsigned char each) { return std::isgraph(each) != 0; });
}

std::string_view withoutUser(std::string_view host) {
  const std::size_t at = host.rfind('@');
  return at == std::string_view::npos ? host : host.substr(at + 1);
}

std::optional<std::string> page(std::string_view host, std::string_view path) {
  while (path.starts_with('/')) path.remove_prefix(1);
  while (path.ends_with('/')) path.remove_suffix(1);
  if (path.ends_with(".git")) path.remove_suffix(4);
  if (host.empty() || path.empty() || host.starts_with('-') || !isPlain(host) || !isPlain(path))
    return std::nullopt;
  return "https://" + std::string(host) + "/" + std::string(path);
}

}  // namespace

std::optional<std::string> webAddress(std::string_view remoteUrl) {
  const std::size_t scheme = remoteUrl.find("://");
  if (scheme == std::string_view::npos) {
    // user@host:path, where no slash stands before the colon.
    const std::size_t colon = remoteUrl.find(':');
    if (colon == std::string_view::npos || remoteUrl.find('/') < colon) return std::nullopt;
    return page(withoutUser(remoteUrl.substr(0, colon)), remoteUrl.substr(colon + 1));
  }
  const std::string_view name = remoteUrl.substr(0, scheme);
  const std::string_view rest = remoteUrl.substr(scheme + 3);
  const std::size_t slash = rest.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  std::string_view host = withoutUser(rest.substr(0, slash));
  if (name == "https" || name == "http") return page(host, rest.substr(slash));
  if (name != "ssh" && name != "git") return std::nullopt;
  // The port is that of the other protocol.
  return page(host.substr(0, host.find(':')), rest.substr(slash));
}

}  // namespace kelpie::agent
