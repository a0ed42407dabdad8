#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/FileIdentifier.h"
#include "protocol/StatusWord.h"
#include "status/ItemKey.h"

namespace kelpie {

// The status words of a working copy's items, flat: a table of a hundred thousand items is one
// block of memory and not a hundred thousand objects. Only the word of an entry is kept, since the
// path beside it is never read. Keys come from messages, so they are hashed with a seed of the
// process's own. Has no lock; its owner guards it.
class StatusTable {
 public:
  // A borrowed item key.
  class Key {
   public:
    Key(const FileIdentifier& identifier);  // NOLINT(google-explicit-constructor)
    Key(const ItemKey& key);                // NOLINT(google-explicit-constructor)
    // The identifier that stands for itself as data, without making one of it.
    static Key ofIdentifierData(ByteView data);
    static Key ofPath(std::string_view path);

   private:
    friend class StatusTable;
    // Equal bytes of different kinds are different keys. The numbers are part of Slot.
    enum class Kind : std::uint8_t { IdentifierData = 1, IdentifierForm = 2, Path = 3 };
    Key(Kind kind, ByteView bytes);

    Kind kind_;
    ByteView bytes_;
    std::uint32_t hash_;
  };

  StatusTable() = default;
  // Makes room for `entries` without growing, as a rule including those that the badges add later.
  explicit StatusTable(std::size_t entries);

  std::size_t size() const { return size_; }

  // The entry's word; absent without an entry, and for one that holds none.
  std::optional<StatusWord> wordOf(const Key& key) const;
  // The same, but 0 for an entry that holds no word: staging meets it all the same.
  std::optional<StatusWord> wordOrZeroOf(const Key& key) const;

  // Fetches the entry's place into the processor's cache, for an entry that will be asked for soon:
  // a large table is not in the cache. Changes nothing.
  void prefetch(const Key& key) const;

  // Adds or replaces the entry.
  void record(const Key& key, StatusWord word);
  // Adds or replaces it by one that holds no word, as an empty array does.
  void recordWithoutWord(const Key& key);
  // Adds the word where wordOf() is missing, and gives the word that the entry has then.
  StatusWord recordIfMissing(const Key& key, StatusWord word);

 private:
  static constexpr std::size_t kInlineSize = FileIdentifier::kInlineSize;
  static constexpr std::uint8_t kLong = 0xFF;
  static constexpr std::uint8_t kHasNoWord = 0x80;
  static constexpr std::size_t kBlockSize = std::size_t{64} * 1024;

  // Where the bytes of a key that is longer than kInlineSize stand.
  struct Place {
    std::uint32_t block = 0;
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
    std::uint32_t hash = 0;
  };
  static_assert(sizeof(Place) <= kInlineSize);

  struct Slot {
    std::array<std::uint8_t, kInlineSize> bytes{};  // of the key, or its Place
    StatusWord word = 0;
    std::uint8_t kind = 0;  // 0: free; else Key::Kind, with kHasNoWord set for an entry without one
    std::uint8_t size = 0;  // of the key, or kLong
  };
  static_assert(sizeof(Slot) == 20);

  static std::uint32_t hashOf(const Slot& slot);
  static Place placeOf(const Slot& slot);
  bool holds(const Slot& slot, const Key& key) const;
  std::size_t firstIndex(std::uint32_t hash) const;
  const Slot* find(const Key& key) const;
  Slot& findOrAdd(const Key& key);
  void grow();
  void rehash(std::size_t capacity);
  void store(Slot& slot, const Key& key);

  std::vector<Slot> slots_;
  std::size_t size_ = 0;
  std::vector<Bytes> blocks_;  // the bytes of long keys
};

}  // namespace kelpie
