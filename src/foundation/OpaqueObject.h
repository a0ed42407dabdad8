#pragma once

#include <string>
#include <utility>
#include <vector>

#include "foundation/Object.h"

namespace kelpie {

// An archived object of a class that nobody here knows, kept so that it can be written back as it
// came: its class names, most derived first, and its keys in the order of the archive.
struct OpaqueObject {
  std::vector<std::string> classNames;
  std::vector<std::pair<std::string, Object>> values;  // nil where the archive holds "$null"
};

}  // namespace kelpie
