#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/StatusWord.h"

namespace kelpie::agent {

// A bit of a word that gives no badge: it is unknown whether the item has changed.
inline constexpr StatusWord kStatusUnknown = 0x1000;

// One item that git's status mentions.
struct StatusItem {
  std::string path;         // relative to the working folder, bytes, no trailing slash
  std::string renamedFrom;  // the path before a rename or copy, else empty
  StatusWord word = KPStatusCurrent;
  bool isFolder = false;  // git reports the folder as one item
  // Deleted, in the index or in the working folder. Something else may be at its path.
  bool isGone = false;
  // Only announced to the index, without its content: the file is there, the index has no content
  // of it. Or a rename or copy in the working folder, which takes such an item.
  bool isAnnounced = false;

  bool isInConflict() const { return (word & KPStatusConflicted) != 0; }
  // Deleted in the working folder; the index has it.
  bool isMissing() const { return (word & KPStatusWorkdirDeleted) != 0; }

  friend bool operator==(const StatusItem&, const StatusItem&) = default;
};

// Parses the output of `git status --porcelain=v2 -z` into status words: one item per path,
// unchanged ones left out. Items come in git's order. Absent when the text is not such output. The
// format is git's own (git-status(1), "Porcelain Format Version 2").
std::optional<std::vector<StatusItem>> parseStatus(std::string_view output);

}  // namespace kelpie::agent
