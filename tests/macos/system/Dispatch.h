#pragma once

#include <cstddef>
#include <cstdint>

// What a test decides about, and sees of, the sources of dispatch.h.
namespace kelpie::system {

// Tells the sources on that process that it has received a signal. Main thread.
void signalProcess(std::int32_t pid);
// How many sources there are that have not gone. Any thread.
std::size_t processSources();

}  // namespace kelpie::system
