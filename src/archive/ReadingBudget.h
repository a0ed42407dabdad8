#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace kelpie {

// What the reading of one message may come to, whoever reads it and however often: the one account
// that every look at an archive, every copy out of it and every object made of it is charged to. It
// is in proportion to the message's bytes, and so are, whatever the bytes say, the time and memory
// that they can ask for. An honest message uses a small part of it, since each thing that it says
// has bytes of its own; what comes after the end reads as nil.
//
// A unit stands for a byte that is kept, or for a few nanoseconds. Any thread: charges of two
// threads at the same time may count as one of them, which the callers' rounding up makes good.
class ReadingBudget {
 public:
  static constexpr std::uint64_t kUnitsPerByte = 16;
  // For messages that are too short to be a burden whatever they say.
  static constexpr std::uint64_t kFreeUnits = std::uint64_t{1} << 20U;

  // One step from an object to another.
  static constexpr std::uint64_t kStep = 16;
  // An element that a loop hands to somebody who may keep something of it.
  static constexpr std::uint64_t kElement = 64;
  // A place in a container that is made.
  static constexpr std::uint64_t kSlot = 32;
  // An object that is made, without its contents.
  static constexpr std::uint64_t kObject = 128;
  // A record, tree node, menu or menu item that is made, without its texts.
  static constexpr std::uint64_t kRecord = 512;
  // An archive inside the message that is opened: each names its classes and keys anew. One that is
  // shorter than this holds nothing.
  static constexpr std::uint64_t kOpening = 256;

  explicit ReadingBudget(std::size_t byteCount,
                         std::uint64_t most = std::numeric_limits<std::uint64_t>::max())
      : total_(std::min(kFreeUnits + kUnitsPerByte * byteCount, most)), left_(total_) {}
  ReadingBudget(const ReadingBudget&) = delete;
  ReadingBudget& operator=(const ReadingBudget&) = delete;

  // Takes `units`. False when there are not as many, from then on.
  bool charge(std::uint64_t units) {
    const std::uint64_t left = left_.load(std::memory_order_relaxed);
    const std::uint64_t rest = units < left ? left - units : 0;
    left_.store(rest, std::memory_order_relaxed);
    return rest != 0;
  }

  // Whether more was asked for than there was: what has been read since is not whole.
  bool isUsedUp() const { return left_.load(std::memory_order_relaxed) == 0; }
  std::uint64_t total() const { return total_; }
  std::uint64_t used() const { return total_ - left_.load(std::memory_order_relaxed); }

 private:
  const std::uint64_t total_;
  std::atomic<std::uint64_t> left_;
};

}  // namespace kelpie
