#include "platform/linux/RealPath.h"

#include <cstdlib>
#include <memory>

namespace kelpie {
namespace {

struct Free {
  // What realpath() allocates is to be freed like this.
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc,cppcoreguidelines-owning-memory)
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

std::optional<std::string> realPath(const std::string& path) {
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  const std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
  return real == nullptr ? std::nullopt : std::optional<std::string>(real.get());
}

}  // namespace kelpie
