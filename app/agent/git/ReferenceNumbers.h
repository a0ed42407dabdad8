#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace kelpie::agent {

// The numbers by which menu items name references. A reference keeps its number for as long as it
// is there, and no number is given twice, in another repository or by an agent that ran before
// neither, so that an item of an old menu never names another reference. One thread at a time.
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
