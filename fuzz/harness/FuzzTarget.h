#pragma once

#include <string_view>

#include "foundation/Bytes.h"

namespace kelpie {

// One of the targets of the executable that holds most of them: a global of fuzz/<Name>.cpp. Which
// one runs is said by the name under which the executable is started, fuzz_<Name>: linking them
// together takes a fraction of the time that an executable for each would.
class FuzzTarget {
 public:
  using Input = ByteView;
  using Run = void (*)(Input input);

  // `name` lives as long as the program. `run` reads one input, and ends the process when it finds
  // anything wrong.
  FuzzTarget(const char* name, Run run);
  FuzzTarget(const FuzzTarget&) = delete;
  FuzzTarget& operator=(const FuzzTarget&) = delete;

  // The target of that name; null when there is none.
  static const FuzzTarget* find(std::string_view name);

  void run(Input input) const { run_(input); }

 private:
  const char* name_;
  Run run_;
  const FuzzTarget* next_;  // in the list of all of them
};

// Ends the process when `holds` is false.
void require(bool holds);

}  // namespace kelpie
