#include "archive/ArchiveCycles.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>

#include "archive/ArchiveReader.h"
#include "archive/BinaryPropertyList.h"

namespace kelpie {

namespace {

using Type = BinaryPropertyList::Type;
using Item = BinaryPropertyList::Item;

// Walks the references of one object: those under its keys, and those in arrays under its keys.
class References {
 public:
  References(const ArchiveReader& reader, std::uint32_t uid)
      : list_(&reader.list()), objectCount_(reader.objectCount()), object_(reader.objectItem(uid)) {
    if (!reader.isContainer(object_)) object_.count = 0;
  }

  // The number of the next object that is referred to; missing at the end, or when `work`, from
  // which each step takes one, is used up.
  std::optional<std::uint32_t> next(std::uint64_t& work) {
    while (work > 0) {
      --work;
      if (element_ < array_.count) {
        if (const auto uid = target(list_->item(list_->number(array_, element_++)))) return uid;
        continue;
      }
      if (field_ == object_.count) return std::nullopt;
      const std::size_t field = field_++;
      const Item value = list_->valueAt(object_, field);
      if (value.type == Type::Array || value.type == Type::Set) {
        array_ = value;
        element_ = 0;
      } else if (const auto uid = target(value)) {
        // A class has no references of its own, so it needs no exception here.
        return uid;
      }
    }
    return std::nullopt;
  }

 private:
  std::optional<std::uint32_t> target(const Item& item) const {
    const std::uint64_t uid = list_->uid(item);
    if (item.type != Type::Uid || uid == 0 || uid >= objectCount_) return std::nullopt;
    return static_cast<std::uint32_t>(uid);
  }

  const BinaryPropertyList* list_;
  std::uint32_t objectCount_;
  Item object_;
  Item array_;
  std::size_t field_ = 0;
  std::size_t element_ = 0;
};

}  // namespace

class ArchiveCycles::Search {
 public:
  explicit Search(const ArchiveReader& reader)
      : reader_(reader),
        // In an archive that is what it says every reference has bytes of its own.
        work_(reader.list().byteCount()),
        order_(reader.objectCount(), kUnseen),
        low_(reader.objectCount(), kUnseen) {}

  // The component of each object; empty when the archive's references are more than its bytes.
  std::vector<std::uint32_t> components() {
    for (std::uint32_t uid = 0; uid < order_.size(); ++uid) {
      if (order_[uid] == kUnseen) visitFrom(uid);
    }
    if (work_ == 0) low_.clear();
    return std::move(low_);
  }

 private:
  static constexpr std::uint32_t kUnseen = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::uint32_t kDone = kUnseen - 1;

  struct Visit {
    std::uint32_t uid;
    References references;
  };

  void enter(std::uint32_t uid) {
    order_[uid] = low_[uid] = counter_++;
    open_.push_back(uid);
    visits_.push_back({uid, References(reader_, uid)});
  }

  void visitFrom(std::uint32_t start) {
    enter(start);
    while (!visits_.empty()) {
      const std::uint32_t uid = visits_.back().uid;
      if (const auto target = visits_.back().references.next(work_)) {
        if (order_[*target] == kUnseen) {
          enter(*target);
        } else if (order_[*target] != kDone) {
          low_[uid] = std::min(low_[uid], order_[*target]);
        }
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
  std::uint64_t work_;
  std::uint32_t counter_ = 0;
  std::vector<std::uint32_t> order_;  // by number: when it was met, or one of the constants
  std::vector<std::uint32_t> low_;    // the earliest that it reaches; once done its component
  std::vector<std::uint32_t> open_;   // met, and in no component yet
  std::vector<Visit> visits_;         // the way to where the search stands
};

ArchiveCycles::ArchiveCycles(const ArchiveReader& reader)
    : components_(Search(reader).components()) {}

bool ArchiveCycles::areOnOneCircle(std::uint32_t uid, std::uint32_t other) const {
  if (components_.empty()) return true;
  return components_[uid] == components_[other];
}

}  // namespace kelpie
