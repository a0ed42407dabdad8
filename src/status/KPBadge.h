#pragma once

#include <span>
#include <string_view>

#include "foundation/Image.h"
#include "protocol/BadgeIdentifiers.h"

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

  static constexpr std::string_view kCurrent = badge::kCurrent;
  static constexpr std::string_view kIndexNew = badge::kIndexNew;
  static constexpr std::string_view kIndexModified = badge::kIndexModified;
  static constexpr std::string_view kIndexDeleted = badge::kIndexDeleted;
  static constexpr std::string_view kIndexRenamed = badge::kIndexRenamed;
  static constexpr std::string_view kIndexTypeChanged = badge::kIndexTypeChanged;
  static constexpr std::string_view kWorkdirNew = badge::kWorkdirNew;
  static constexpr std::string_view kWorkdirModified = badge::kWorkdirModified;
  static constexpr std::string_view kWorkdirDeleted = badge::kWorkdirDeleted;
  static constexpr std::string_view kWorkdirTypeChanged = badge::kWorkdirTypeChanged;
  static constexpr std::string_view kWorkdirRenamed = badge::kWorkdirRenamed;
  static constexpr std::string_view kIgnored = badge::kIgnored;
  static constexpr std::string_view kConflicted = badge::kConflicted;

  // Two identifiers without an image; either leaves an item bare. kEmpty is for items that are to
  // have no badge, kNone for status words that have none.
  static constexpr std::string_view kEmpty = badge::kEmpty;
  static constexpr std::string_view kNone{};
};

}  // namespace kelpie
