#include "archive/ArchiveCycles.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>

#include "archive/ArchiveReader.h"
#include "archive/BinaryPropertyList.h"

namespace kelpie {

namespace {

using Type = BinaryPropertyList::Type;
using Item = BinaryPropertyList::Item;

// Where the walk through the references of one object stands: those under its keys, and those in
// arrays under its keys. There may be one for each object at a time, so it keeps nothing else.
struct Place {
  std::uint32_t uid;
  std::uint32_t field = 0;
  std::uint32_t element = 0;  // of the array under the key
};

}  // namespace

class ArchiveCycles::Search {
 public:
  explicit Search(const ArchiveReader& reader) : reader_(reader) {
    // The memory for each object; each reference is charged when it is looked at.
    constexpr std::uint64_t kCost = sizeof(Place) + 3 * sizeof(std::uint32_t);
    if (!reader.budget().charge(kCost * reader.objectCount())) return;
    order_.assign(reader.objectCount(), kUnseen);
    low_ = order_;
  }

  // The component of each object; empty when the archive has more references than it may.
  std::vector<std::uint32_t> components() {
    for (std::uint32_t uid = 0; uid < order_.size(); ++uid)
      if (order_[uid] == kUnseen) visitFrom(uid);
    if (reader_.budget().isUsedUp()) low_.clear();
    return std::move(low_);
  }

 private:
  static constexpr std::uint32_t kUnseen = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::uint32_t kDone = kUnseen - 1;

  void enter(std::uint32_t uid) {
    order_[uid] = low_[uid] = counter_++;
    open_.push_back(uid);
    visits_.push_back({uid});
    const Item object = reader_.objectItem(uid);
    if (!reader_.isContainer(object)) visits_.back().field = object.count;
  }

  // The number of the next object that is referred to; missing at the end.
  std::optional<std::uint32_t> next(Place& place) {
    // It is found by way of the list's table, and so is what it refers to.
    constexpr std::uint64_t kCost = 8;
    const BinaryPropertyList& list = reader_.list();
    const Item object = reader_.objectItem(place.uid);
    while (place.field < object.count && reader_.budget().charge(kCost)) {
      const Item value = list.valueAt(object, place.field);
      const bool isArray = value.type == Type::Array || value.type == Type::Set;
      if (isArray && place.element < value.count) {
        if (const auto uid = target(list.item(list.number(value, place.element++)))) return uid;
        continue;
      }
      ++place.field;
      place.element = 0;
      // A class has no references of its own, so it needs no exception here.
      if (const auto uid = target(value)) return uid;
    }
    return std::nullopt;
  }

  std::optional<std::uint32_t> target(const Item& item) const {
    const std::uint64_t uid = reader_.list().uid(item);
    if (item.type != Type::Uid || uid == 0 || uid >= order_.size()) return std::nullopt;
    return static_cast<std::uint32_t>(uid);
  }

  void visitFrom(std::uint32_t start) {
    enter(start);
    while (!visits_.empty()) {
      const std::uint32_t uid = visits_.back().uid;
      if (const auto target = next(visits_.back())) {
        if (order_[*target] == kUnseen)
          enter(*target);
        else if (order_[*target] != kDone)
          low_[uid] = std::min(low_[uid], order_[*target]);
        continue;
      }
      visits_.pop_back();
      if (!visits_.empty()) {
        const std::uint32_t parent = visits_.back().uid;
        low_[parent] = std::min(low_[parent], low_[uid]);
      }
      if (low_[uid] == order_[uid]) closeComponent(uid);
    }
  }

  // Everything that was opened since `first` is one component, named by the place of `first`.
  void closeComponent(std::uint32_t first) {
    const std::uint32_t component = order_[first];
    std::uint32_t uid = 0;
    do {
      uid = open_.back();
      open_.pop_back();
      order_[uid] = kDone;
      low_[uid] = component;
    } while (uid != first);
  }

  const ArchiveReader& reader_;
  std::uint32_t counter_ = 0;
  std::vector<std::uint32_t> order_;  // by number: when it was met, or one of the constants
  std::vector<std::uint32_t> low_;    // the earliest that it reaches; once done its component
  std::vector<std::uint32_t> open_;   // met, and in no component yet
  std::vector<Place> visits_;         // the way to where the search stands
};

ArchiveCycles::ArchiveCycles(const ArchiveReader& reader)
    : components_(Search(reader).components()) {}

bool ArchiveCycles::areOnOneCircle(std::uint32_t uid, std::uint32_t other) const {
  if (components_.empty()) return true;
  return components_[uid] == components_[other];
}

}  // namespace kelpie
