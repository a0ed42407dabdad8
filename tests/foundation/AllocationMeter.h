#pragma once

#include <cstddef>
#include <cstdint>

namespace kelpie {

// Counts what this thread takes from the heap with `new` between its making and the questions. A
// program that uses it has its operator new replaced; in a sanitizer's build malloc counts, too.
class AllocationMeter {
 public:
  AllocationMeter();
  AllocationMeter(const AllocationMeter&) = delete;
  AllocationMeter& operator=(const AllocationMeter&) = delete;

  // How many blocks were taken.
  std::uint64_t count() const;
  // How many bytes these had in all, given back or not: what was copied somewhere is among them.
  std::uint64_t bytes() const;
  // The most bytes that were held at one time, beyond those held at the beginning.
  std::size_t peak() const;

 private:
  std::uint64_t startCount_;
  std::uint64_t startTaken_;
  std::int64_t startBytes_;
};

}  // namespace kelpie
