#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/settings/SettingsSnapshot.h"
#include "cli/text/JsonText.h"

namespace kelpie::cli {

// One setting that the user may change: a switch, or the items of one list of a menu. The table
// has them all. Any thread.
class Setting {
 public:
  constexpr Setting(std::string_view name, std::string_view key, std::string_view listKey = {})
      : name_(name), key_(key), listKey_(listKey) {}

  static std::span<const Setting> table();
  // Null when there is none of that name.
  static const Setting* find(std::string_view name);

  std::string_view name() const { return name_; }
  bool isList() const { return !listKey_.empty(); }
  // Whether it has the value that it has when nothing is stored.
  bool isDefault(const SettingsSnapshot& settings) const;

  // "on" or "off".
  std::string switchText(const SettingsSnapshot& settings) const;
  // The tags of a list, in the order of the menu.
  std::vector<std::int64_t> tags(const SettingsSnapshot& settings) const;
  // A boolean, or an array of tags and titles.
  OrderedJson json(const SettingsSnapshot& settings) const;

  // Sets the value that the user wrote. Returns what is wrong with it, in one line, or nothing; a
  // wrong value leaves the settings unchanged.
  std::optional<std::string> set(SettingsSnapshot& settings,
                                 const std::vector<std::string>& words) const;
  // Goes back to the default.
  void reset(SettingsSnapshot& settings) const;

 private:
  std::optional<std::string> setSwitch(SettingsSnapshot& settings,
                                       const std::vector<std::string>& words) const;
  void storeList(SettingsSnapshot& settings, const Object& list) const;

  std::string_view name_;
  std::string_view key_;      // of the shared settings
  std::string_view listKey_;  // inside the item list under that key; empty for a switch
};

}  // namespace kelpie::cli
