#include "status/StagedStatus.h"

#include <bit>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace kelpie {
namespace {

struct Change {
  StatusWord from;
  StatusWord to;
};

// The highest bit of the working folder in a word, and the word after staging.
constexpr Change kStaging[] = {
    {KPStatusWorkdirNew, KPStatusIndexNew},
    {KPStatusWorkdirModified, KPStatusIndexModified},
    {KPStatusWorkdirDeleted, KPStatusIndexDeleted},
    {KPStatusWorkdirTypeChanged, KPStatusIndexTypeChanged},
    {KPStatusWorkdirRenamed, KPStatusIndexRenamed},
};

// The highest bit of the index in a word, and the word after unstaging.
constexpr Change kUnstaging[] = {
    {KPStatusIndexNew, KPStatusWorkdirNew},
    {KPStatusIndexModified, KPStatusWorkdirModified},
    {KPStatusIndexDeleted, KPStatusWorkdirDeleted},
    {KPStatusIndexRenamed, KPStatusWorkdirRenamed},
    {KPStatusIndexTypeChanged, KPStatusWorkdirTypeChanged},
};

constexpr unsigned kIndexBits = 0x001F;
constexpr unsigned kWorkdirBits = 0x0F80;

template <std::size_t size>
StatusWord changed(const Change (&changes)[size], unsigned bit) {
  for (const Change& change : changes)
    if (change.from == bit) return change.to;
  return 0;
}

[[noreturn]] void parkForever() {
  // Both live on this thread's stack, so they are never destroyed while it waits.
  std::mutex mutex;
  std::condition_variable never;
  std::unique_lock lock(mutex);
  for (;;) never.wait(lock);
}

// The highest index bit. Scans downward from bit 4 and, when there is none, on from bit 31 round
// and round: so it gives the highest bit of all, and never returns where there is none.
unsigned highestIndexBit(StatusWord word) {
  if (isEndlessStatus(word)) parkForever();
  const unsigned index = word & kIndexBits;
  return std::bit_floor(index != 0 ? index : unsigned{word});
}

}  // namespace

bool isEndlessStatus(StatusWord word) { return word == 0; }

StatusWord stagedStatusForStatus(StatusWord word) {
  const unsigned workdir = std::bit_floor(word & kWorkdirBits);
  const unsigned index = highestIndexBit(word);
  constexpr unsigned deletedAndNew = KPStatusIndexDeleted | KPStatusWorkdirNew;
  if ((word & deletedAndNew) == deletedAndNew) return KPStatusCurrent;
  if (index == KPStatusIndexRenamed && workdir != KPStatusWorkdirDeleted)
    return KPStatusIndexRenamed;
  if (index == KPStatusIndexDeleted && workdir != KPStatusWorkdirNew) return KPStatusIndexModified;
  if (index == KPStatusIndexNew) return KPStatusIndexNew;
  return changed(kStaging, workdir);
}

StatusWord unstagedStatusForStatus(StatusWord word) {
  return changed(kUnstaging, highestIndexBit(word));
}

}  // namespace kelpie
