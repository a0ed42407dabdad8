#pragma once

#include <memory>
#include <string>

#include "support/linux/ChildProcess.h"

namespace kelpie {

// Runs a disabled test of this very program as another process: what a test needs done by a process
// of its own stands beside it, as TEST(Suite, DISABLED_Name). It is skipped when it is asked for in
// another way.
std::unique_ptr<ChildProcess> startDisabledTest(const std::string& suiteAndName,
                                                ChildProcess::Environment environment);

// Inside such a test: whether startDisabledTest() has started this process.
bool isStartedAsProcess();

}  // namespace kelpie
