#pragma once

#include <functional>
#include <initializer_list>

namespace kelpie {

// Runs `task` on a thread of its own for which these system calls (SYS_...) fail with `error`, as
// they do for the processes that it starts. Returns when it is done. Any thread.
void withFailingCalls(std::initializer_list<long> calls, int error,
                      const std::function<void()>& task);

}  // namespace kelpie
