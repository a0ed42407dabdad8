#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/settings/SettingsSnapshot.h"

namespace kelpie::cli {

// The folders that the extension observes, as the shared settings hold them: one bookmark each.
// Any thread; looks at the folders in the file system.
class FolderList {
 public:
  // What has become of the folder of a bookmark.
  enum class State : std::uint8_t {
    Present,
    Replaced,    // another item stands at its path now, which is observed instead
    Missing,     // nothing is there
    NoBookmark,  // the entry is something else; the extension passes over it and all that follow
  };
  struct Entry {
    std::string path;  // bytes; "" for NoBookmark
    State state = State::NoBookmark;
  };
  static std::string_view textOf(State state);

  static std::vector<Entry> read(const SettingsSnapshot& settings);

  // Adds the folder at the absolute path. False when it is there already, or nothing can be
  // bookmarked there.
  static bool add(SettingsSnapshot& settings, const std::string& path);
  // Removes the folder. False when it is not in the list.
  static bool remove(SettingsSnapshot& settings, const std::string& path);
  // Removes entries that are not bookmarks. Returns how many there were.
  static std::size_t dropStrangers(SettingsSnapshot& settings);
};

}  // namespace kelpie::cli
