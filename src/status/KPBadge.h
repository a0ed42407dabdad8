#pragma once

#include <span>
#include <string_view>

#include "foundation/Image.h"

namespace kelpie {

// The badges of the file manager: identifiers, and the image that each is shown with.
class KPBadge {
 public:
  struct Entry {
    std::string_view identifier;  // such as "KPCurrentBadge"
    Image image;                  // of the extension's own resources, such as "CurrentBadge"
  };

  KPBadge() = delete;

  // The thirteen badges that have an image, each once; to be registered with the file manager
  // before the first is set. Built on the first call. Any thread.
  static std::span<const Entry> badges();

  static constexpr std::string_view kCurrent = "KPCurrentBadge";
  static constexpr std::string_view kIndexNew = "KPIndexNewBadge";
  static constexpr std::string_view kIndexModified = "KPIndexModifiedBadge";
  static constexpr std::string_view kIndexDeleted = "KPIndexDeletedBadge";
  static constexpr std::string_view kIndexRenamed = "KPIndexRenamedBadge";
  static constexpr std::string_view kIndexTypeChanged = "KPIndexTypeChangedBadge";
  static constexpr std::string_view kWorkdirNew = "KPWorkdirNewBadge";
  static constexpr std::string_view kWorkdirModified = "KPWorkdirModifiedBadge";
  static constexpr std::string_view kWorkdirDeleted = "KPWorkdirDeletedBadge";
  static constexpr std::string_view kWorkdirTypeChanged = "KPWorkdirTypeChangedBadge";
  static constexpr std::string_view kWorkdirRenamed = "KPWorkdirRenamedBadge";
  static constexpr std::string_view kIgnored = "KPIgnoredBadge";
  static constexpr std::string_view kConflicted = "KPConflictedBadge";

  // Two identifiers without an image; either leaves an item bare. kEmpty is for items that are to
  // have no badge, kNone for status words that have none.
  static constexpr std::string_view kEmpty = "KPEmptyBadge";
  static constexpr std::string_view kNone{};
};

}  // namespace kelpie
