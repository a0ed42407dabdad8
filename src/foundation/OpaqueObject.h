#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Object.h"

namespace kelpie {

// An archived object of an unknown class, kept so that it can be written back as it came: its class
// names, most derived first, and its keys in the order of the archive.
struct OpaqueObject {
  // How a value stands under its key. A reader of the class expects the form that its writer chose.
  enum class Form : std::uint8_t {
    Reference,   // as an object of the archive; nil is a reference to "$null"
    References,  // an array of such references, as collections hold their elements
    Inline,      // a plain property-list value in the object itself
  };
  struct Field {
    std::string key;
    Object value;
    Form form = Form::Reference;
  };

  std::vector<std::string> classNames;
  std::vector<Field> values;
};

}  // namespace kelpie
