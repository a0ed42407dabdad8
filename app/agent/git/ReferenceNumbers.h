#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace kelpie::agent {

// The numbers by which menu items name references. A reference keeps its number as long as it
// exists. No number is ever given twice, not in another repository and not by a former run of the
// agent, so that an item of an old menu never names another reference. One thread at a time.
class ReferenceNumbers {
 public:
  // The number of the reference, a new one at first.
  std::int64_t numberFor(const std::string& fullName);
  // Forgets all references that were not asked for since the last call.
  void forgetOthers();

 private:
  struct Number {
    std::int64_t value;
    bool asked;
  };
  std::unordered_map<std::string, Number> numbers_;
};

}  // namespace kelpie::agent
