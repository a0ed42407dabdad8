#pragma once

#include <string>

#include "platform/Entitlements.h"

namespace kelpie {

// The application group as the running process's own code signature names it: the first string of
// its list of groups. It names the shared defaults and both message ports.
struct ApplicationGroup {
  // The first check that failed, in the order of the checks.
  enum class Failure { None, NoTask, NoEntitlement, NoElement, NoString };

  std::string name;  // meaningful only without a failure
  Failure failure = Failure::None;

  // Asks the code signature anew. Any thread.
  static ApplicationGroup read(const Entitlements& entitlements);
};

}  // namespace kelpie
