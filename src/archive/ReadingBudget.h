#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace kelpie {

// What reading one message may cost, in total and for all its readers: every look at an archive,
// every copy out of it and every object made from it is charged to this one account. The account is
// in proportion to the message's bytes, and therefore so are the time and memory that these bytes
// can demand. An honest message uses a small part of it, since each value in it has bytes of its
// own. Once the account is used up, everything reads as nil.
//
// A unit stands for a byte that is kept, or for a few nanoseconds. Any thread: charges that two
// threads make at the same time may count once only, which the callers' rounding up makes good.
class ReadingBudget {
 public:
  static constexpr std::uint64_t kUnitsPerByte = 16;
  // Granted to every message: a short one is no burden whatever it says.
  static constexpr std::uint64_t kFreeUnits = std::uint64_t{1} << 20U;

  // One step from an object to another.
  static constexpr std::uint64_t kStep = 16;
  // An element that a loop hands to a caller who may keep a part of it.
  static constexpr std::uint64_t kElement = 64;
  // A place in a container that is made.
  static constexpr std::uint64_t kSlot = 32;
  // An object that is made, without its contents.
  static constexpr std::uint64_t kObject = 128;
  // A record, tree node, menu or menu item that is made, without its texts.
  static constexpr std::uint64_t kRecord = 512;
  // An archive that is opened inside the message: each names its classes and keys anew. A shorter
  // one holds nothing.
  static constexpr std::uint64_t kOpening = 256;

  explicit ReadingBudget(std::size_t byteCount,
                         std::uint64_t most = std::numeric_limits<std::uint64_t>::max())
      : total_(std::min(kFreeUnits + kUnitsPerByte * byteCount, most)), left_(total_) {}
  ReadingBudget(const ReadingBudget&) = delete;
  ReadingBudget& operator=(const ReadingBudget&) = delete;

  // Charges `units`. False once there are not as many left.
  bool charge(std::uint64_t units) {
    const std::uint64_t left = left_.load(std::memory_order_relaxed);
    const std::uint64_t rest = units < left ? left - units : 0;
    left_.store(rest, std::memory_order_relaxed);
    return rest != 0;
  }

  // Whether more was charged than there was: what was read since is incomplete.
  bool isUsedUp() const { return left_.load(std::memory_order_relaxed) == 0; }
  std::uint64_t total() const { return total_; }
  std::uint64_t used() const { return total_ - left_.load(std::memory_order_relaxed); }

 private:
  const std::uint64_t total_;
  std::atomic<std::uint64_t> left_;
};

}  // namespace kelpie
