#include "status/StatusTable.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <variant>

namespace kelpie {
namespace {

// How full the table may get before it grows, and how full it is made for a known number of
// entries. Together with the growth these bound its size to 50 bytes an entry.
constexpr std::size_t kMaximumLoadPercent = 70;
constexpr std::size_t kReservedLoadPercent = 60;
constexpr std::size_t kMinimumCapacity = 16;
constexpr std::size_t kMaximumCapacity = std::numeric_limits<std::uint32_t>::max();

struct Seeds {
  std::uint64_t first;
  std::uint64_t second;
};

// Differs for every process, so that a message cannot hold keys that all fall onto one slot.
const Seeds& seeds() {
  static const Seeds value = [] {
    std::random_device device;
    const auto number = [&device] {
      return (std::uint64_t{device()} << 32) | std::uint64_t{device()};
    };
    return Seeds{number(), number() | 1};
  }();
  return value;
}

std::uint64_t mixed(std::uint64_t value) {
  value ^= value >> 32;
  value *= 0x9FB21C651E98DF25U;
  value ^= value >> 29;
  value *= 0xD6E8FEB86659FD93U;
  return value ^ (value >> 32);
}

std::uint32_t hashOfBytes(ByteView bytes) {
  std::uint64_t hash = seeds().first ^ bytes.size();
  while (!bytes.empty()) {
    std::uint64_t part = 0;
    const std::size_t count = std::min(bytes.size(), sizeof part);
    std::memcpy(&part, bytes.data(), count);
    hash = mixed(hash ^ part) * seeds().second;
    bytes = bytes.subspan(count);
  }
  return static_cast<std::uint32_t>(mixed(hash) >> 32);
}

std::size_t capacityFor(std::size_t entries, std::size_t loadPercent) {
  entries = std::min(entries, kMaximumCapacity / 2);
  return std::max(entries * 100 / loadPercent + 1, kMinimumCapacity);
}

}  // namespace

// The kind takes part in the comparison only: honest keys of two kinds never have the same bytes.
StatusTable::Key::Key(Kind kind, ByteView bytes)
    : kind_(kind), bytes_(bytes), hash_(hashOfBytes(bytes)) {}

StatusTable::Key::Key(const FileIdentifier& identifier)
    : Key(identifier.isArchivedForm() ? Kind::IdentifierForm : Kind::IdentifierData,
          identifier.bytes()) {}

StatusTable::Key::Key(const ItemKey& key)
    : Key(std::holds_alternative<std::string>(key) ? ofPath(std::get<std::string>(key))
                                                   : Key(std::get<FileIdentifier>(key))) {}

StatusTable::Key StatusTable::Key::ofIdentifierData(ByteView data) {
  return {Kind::IdentifierData, data};
}

StatusTable::Key StatusTable::Key::ofPath(std::string_view path) {
  return {Kind::Path, bytesOf(path)};
}

StatusTable::StatusTable(std::size_t entries)
    : slots_(capacityFor(entries, kReservedLoadPercent)) {}

std::optional<StatusWord> StatusTable::wordOf(const Key& key) const {
  const Slot* slot = find(key);
  if (slot == nullptr || (slot->kind & kHasNoWord) != 0) return std::nullopt;
  return slot->word;
}

std::optional<StatusWord> StatusTable::wordOrZeroOf(const Key& key) const {
  const Slot* slot = find(key);
  if (slot == nullptr) return std::nullopt;
  return slot->word;
}

void StatusTable::prefetch(const Key& key) const {
  if (!slots_.empty()) __builtin_prefetch(&slots_[firstIndex(key.hash_)], 1);
}

void StatusTable::record(const Key& key, StatusWord word) {
  Slot& slot = findOrAdd(key);
  slot.word = word;
  slot.kind = static_cast<std::uint8_t>(key.kind_);
}

void StatusTable::recordWithoutWord(const Key& key) {
  Slot& slot = findOrAdd(key);
  slot.word = 0;
  slot.kind = static_cast<std::uint8_t>(key.kind_) | kHasNoWord;
}

StatusWord StatusTable::recordIfMissing(const Key& key, StatusWord word) {
  if (const std::optional<StatusWord> present = wordOf(key)) return *present;
  record(key, word);
  return word;
}

std::uint32_t StatusTable::hashOf(const Slot& slot) {
  if (slot.size == kLong) return placeOf(slot).hash;
  return hashOfBytes(ByteView(slot.bytes).first(slot.size));
}

StatusTable::Place StatusTable::placeOf(const Slot& slot) {
  Place place;
  std::memcpy(&place, slot.bytes.data(), sizeof place);
  return place;
}

bool StatusTable::holds(const Slot& slot, const Key& key) const {
  if ((slot.kind & ~kHasNoWord) != static_cast<int>(key.kind_)) return false;
  if (slot.size != kLong) {
    return slot.size == key.bytes_.size() &&
           std::memcmp(slot.bytes.data(), key.bytes_.data(), slot.size) == 0;
  }
  const Place place = placeOf(slot);
  return place.hash == key.hash_ && place.size == key.bytes_.size() &&
         std::memcmp(&blocks_[place.block][place.offset], key.bytes_.data(), place.size) == 0;
}

std::size_t StatusTable::firstIndex(std::uint32_t hash) const {
  return static_cast<std::size_t>((std::uint64_t{hash} * slots_.size()) >> 32);
}

const StatusTable::Slot* StatusTable::find(const Key& key) const {
  if (slots_.empty()) return nullptr;
  // Ends: a table is never full.
  for (std::size_t index = firstIndex(key.hash_);;
       index = index + 1 == slots_.size() ? 0 : index + 1) {
    const Slot& slot = slots_[index];
    if (slot.kind == 0) return nullptr;
    if (holds(slot, key)) return &slot;
  }
}

StatusTable::Slot& StatusTable::findOrAdd(const Key& key) {
  if (slots_.empty() || (size_ + 1) * 100 > slots_.size() * kMaximumLoadPercent) grow();
  for (std::size_t index = firstIndex(key.hash_);;
       index = index + 1 == slots_.size() ? 0 : index + 1) {
    Slot& slot = slots_[index];
    if (slot.kind == 0) {
      store(slot, key);
      ++size_;
      return slot;
    }
    if (holds(slot, key)) return slot;
  }
}

void StatusTable::grow() { rehash(std::max(slots_.size() + slots_.size() / 2, kMinimumCapacity)); }

void StatusTable::rehash(std::size_t capacity) {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(capacity));
  for (const Slot& slot : old) {
    if (slot.kind == 0) continue;
    std::size_t index = firstIndex(hashOf(slot));
    while (slots_[index].kind != 0) index = index + 1 == capacity ? 0 : index + 1;
    slots_[index] = slot;
  }
}

void StatusTable::store(Slot& slot, const Key& key) {
  slot.kind = static_cast<std::uint8_t>(key.kind_);
  if (key.bytes_.size() <= kInlineSize) {
    slot.size = static_cast<std::uint8_t>(key.bytes_.size());
    std::copy(key.bytes_.begin(), key.bytes_.end(), slot.bytes.begin());
    return;
  }
  if (blocks_.empty() || blocks_.back().capacity() - blocks_.back().size() < key.bytes_.size())
    blocks_.emplace_back().reserve(std::max(kBlockSize, key.bytes_.size()));
  Bytes& block = blocks_.back();
  const Place place{static_cast<std::uint32_t>(blocks_.size() - 1),
                    static_cast<std::uint32_t>(block.size()),
                    static_cast<std::uint32_t>(key.bytes_.size()), key.hash_};
  block.insert(block.end(), key.bytes_.begin(), key.bytes_.end());
  slot.size = kLong;
  std::memcpy(slot.bytes.data(), &place, sizeof place);
}

}  // namespace kelpie
