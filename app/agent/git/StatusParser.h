#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/StatusWord.h"

namespace kelpie::agent {

// The bit of a word that stands for no badge: whether the item has changed is not known.
inline constexpr StatusWord kStatusUnknown = 0x1000;

// One item that git's status mentions.
struct StatusItem {
  std::string path;         // relative to the working folder, bytes, no trailing slash
  std::string renamedFrom;  // the path before a rename or copy, else empty
  StatusWord word = KPStatusCurrent;
  bool isFolder = false;  // git reports the folder as one item
  // Deleted, in the index or in the working folder: nothing, or something else, is at its path.
  bool isGone = false;

  friend bool operator==(const StatusItem&, const StatusItem&) = default;
};

// What `git status --porcelain=v2 -z` printed, as status words: one item per path, those that are
// unchanged left out. Items come in git's order. Missing when the text is not such output. The
// format is git's own (git-status(1), "Porcelain Format Version 2").
std::optional<std::vector<StatusItem>> parseStatus(std::string_view output);

}  // namespace kelpie::agent
