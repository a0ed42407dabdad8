#pragma once

#include <string>

namespace kelpie {

// An image by name; the pixels are the platform's business.
struct Image {
  enum class Source {
    Resource,      // of the extension's own resources, such as "BranchImage"
    SystemSymbol,  // of the system's symbol set, such as "tag"
  };

  std::string name;
  Source source = Source::Resource;

  friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace kelpie
