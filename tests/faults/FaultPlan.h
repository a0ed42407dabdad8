#pragma once

#include <cstddef>

// Which call of a process is to fail, and how; what is read from the environment of the process:
//
//   KELPIE_FAULT_PROGRAM  the process: the name of its program, with a blank and the first argument
//                         behind it if there is one. In all others nothing is done.
//   KELPIE_FAULT_TRACE    a file to which a line is written for each call that could have failed:
//                         program, call, number, place (a number that stands for the callers)
//   KELPIE_FAULT_UNTRACED a kind of call for which no such line is written
//   KELPIE_FAULT_CALL     the kind of call that fails, as wrapped in FaultShim.cpp
//   KELPIE_FAULT_AT       the first call of that kind that fails, from 1
//   KELPIE_FAULT_TIMES    how many in a row do, 1 unless it is said
//   KELPIE_FAULT_ERROR    the error number, or "short": half of what was to be read or written is
//   KELPIE_FAULT_REPORT   a file to which the callers of the call that failed are written; once it
//                         is there, no call fails any more, whatever the process
//
// Any thread. Uses nothing that allocates or that is wrapped itself.
namespace kelpie::faults {

// Counts a call of that kind. True when it is to fail, errno says how.
bool fails(const char* kind);

// The same for one that moves `size` bytes: true when it is to fail; `size` may have become less.
bool failsOrIsShort(const char* kind, std::size_t& size);

// What the descriptor is in the name of a kind, such as "read.file".
struct KindsByType {
  const char* file;
  const char* pipe;
  const char* socket;
  const char* other;  // events and the like, of which nothing comes in part

  const char* of(int fd) const;
};

}  // namespace kelpie::faults
