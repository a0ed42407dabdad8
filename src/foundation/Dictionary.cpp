#include "foundation/Dictionary.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "foundation/ObjectComparison.h"
#include "foundation/ObjectView.h"

namespace kelpie {

namespace {

// Up to this size comparing all keys costs less than keeping an index.
constexpr std::size_t kLinearSize = 8;

}  // namespace

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  entries_.reserve(entries.size());
  for (const Entry& entry : entries) set(entry.first, entry.second);
}

void Dictionary::set(Object key, Object value) {
  // Enough to compare the key with every other, whatever their number.
  ObjectComparison comparison(std::numeric_limits<std::uint64_t>::max());
  set(std::move(key), std::move(value), comparison);
}

void Dictionary::set(Object key, Object value, ObjectComparison& comparison) {
  if (key.isNil()) throw std::invalid_argument("a dictionary cannot hold a value under nil");
  if (value.isNil()) throw std::invalid_argument("a dictionary cannot hold nil");

  const std::size_t index = indexOf(key, comparison);
  if (comparison.isExhausted()) return;
  if (index < entries_.size()) {
    entries_[index].second = std::move(value);
    return;
  }
  hashes_.push_back(key.hash());
  entries_.emplace_back(std::move(key), std::move(value));
  if (!index_.empty())
    index_.add(hashes_.back(), entries_.size() - 1);
  else if (entries_.size() > kLinearSize)
    rebuildIndex();
}

void Dictionary::remove(const Object& key) {
  ObjectComparison comparison;
  const std::size_t index = indexOf(key, comparison);
  if (index == entries_.size()) return;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
  hashes_.erase(hashes_.begin() + static_cast<std::ptrdiff_t>(index));
  rebuildIndex();
}

const Object* Dictionary::find(std::string_view key) const {
  const std::size_t index = search(Object::hashOfString(key), [&](const Object& candidate) {
    return ObjectView(candidate).isEqualToString(key);
  });
  return index < entries_.size() ? &entries_[index].second : nullptr;
}

const Object* Dictionary::findObject(const Object& key) const {
  ObjectComparison comparison;
  return find(key, comparison);
}

const Object* Dictionary::find(const Object& key, ObjectComparison& comparison) const {
  const std::size_t index = indexOf(key, comparison);
  return index < entries_.size() ? &entries_[index].second : nullptr;
}

std::size_t Dictionary::indexOf(const Object& key, ObjectComparison& comparison) const {
  return search(key.hash(),
                [&](const Object& candidate) { return comparison.isEqual(candidate, key); });
}

template <class IsKey>
std::size_t Dictionary::search(std::size_t hash, const IsKey& isKey) const {
  // By hash first whatever the size, so that a URL is found or not whatever the size is.
  const auto isAt = [&](std::size_t index) {
    return hashes_[index] == hash && isKey(entries_[index].first);
  };
  if (!index_.empty()) return index_.find(hash, isAt).value_or(entries_.size());
  std::size_t index = 0;
  while (index < entries_.size() && !isAt(index)) ++index;
  return index;
}

void Dictionary::rebuildIndex() {
  index_.clear();
  if (entries_.size() <= kLinearSize) return;
  index_.reserve(entries_.size());
  for (std::size_t index = 0; index < entries_.size(); ++index) index_.add(hashes_[index], index);
}

}  // namespace kelpie
