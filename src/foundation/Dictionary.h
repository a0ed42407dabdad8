#pragma once

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/HashIndex.h"
#include "foundation/Object.h"

namespace kelpie {

class ObjectComparison;

// A dictionary from any object to any object, in the order of insertion. Keys are compared with
// Object::isEqual. Neither keys nor values are nil: building a dictionary that is to hold an absent
// value raises std::invalid_argument, the one exception of the core.
class Dictionary {
 public:
  using Entry = std::pair<Object, Object>;

  Dictionary() = default;
  // Raises std::invalid_argument when a key or a value is nil. The last of two equal keys wins.
  Dictionary(std::initializer_list<Entry> entries);

  // Adds or replaces; a replaced entry keeps its place. Raises std::invalid_argument for nil.
  void set(Object key, Object value);
  // The same for entries of unknown origin: `comparison` compares the keys and bounds the work.
  // Once that bound is exhausted nothing is added.
  void set(Object key, Object value, ObjectComparison& comparison);
  // Removes the entry if there is one.
  void remove(const Object& key);

  // The value, or nil. (Templates, so that a text is not turned into an object first.)
  Object operator[](std::string_view key) const { return valueAt(find(key)); }
  template <std::same_as<Object> Key>
  Object operator[](const Key& key) const {
    return valueAt(find(key));
  }
  bool contains(const Object& key) const { return findObject(key) != nullptr; }
  // The value, null when absent. Borrowed until the dictionary changes.
  const Object* find(std::string_view key) const;
  template <std::same_as<Object> Key>
  const Object* find(const Key& key) const {
    return findObject(key);
  }
  const Object* find(const Object& key, ObjectComparison& comparison) const;

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const std::vector<Entry>& entries() const& { return entries_; }
  // A temporary hands its entries over, so that a loop over them keeps alive what it reads.
  std::vector<Entry> entries() && { return std::move(entries_); }

 private:
  static Object valueAt(const Object* found) { return found != nullptr ? *found : Object(); }
  const Object* findObject(const Object& key) const;
  // The position of the key, or entries_.size().
  std::size_t indexOf(const Object& key, ObjectComparison& comparison) const;
  // The position of the key with this hash for which `isKey` is true, or entries_.size().
  template <class IsKey>
  std::size_t search(std::size_t hash, const IsKey& isKey) const;
  void rebuildIndex();

  std::vector<Entry> entries_;
  std::vector<std::size_t> hashes_;  // Object::hash() of the keys, by position
  HashIndex index_;                  // of entries_; empty while a linear search is cheaper
};

}  // namespace kelpie
