#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/Object.h"

namespace kelpie {

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
  // Removes the entry if there is one.
  void remove(const Object& key);

  // The value, or nil.
  Object operator[](std::string_view key) const;
  Object operator[](const Object& key) const;
  bool contains(const Object& key) const;

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const std::vector<Entry>& entries() const { return entries_; }

 private:
  std::size_t indexOf(const Object& key) const;  // entries_.size() when missing

  std::vector<Entry> entries_;
  // From Object::hash() to positions in entries_; empty while a linear search is cheaper.
  std::unordered_multimap<std::size_t, std::size_t> index_;
};

}  // namespace kelpie
