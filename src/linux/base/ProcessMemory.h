#pragma once

namespace kelpie {

// How this process takes memory from the system.
class ProcessMemory {
 public:
  ProcessMemory() = delete;

  // Has all threads share a few heaps. The system's allocator gives each of some more threads than
  // there are processors a heap of its own, and each heap grows to what the largest piece of work
  // ever took there: a program with ten threads that are idle most of the time would hold several
  // times what it uses. Before there are other threads. Does nothing where the allocator has no
  // such heaps.
  static void shareHeaps();
};

}  // namespace kelpie
