#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace kelpie {

// All that can be told apart of an object, as texts by name.
using Portrait = std::map<std::string, std::string>;

// What `after` has otherwise than `before`; both have the same names.
inline Portrait changesOf(const Portrait& before, const Portrait& after) {
  Portrait changes;
  for (const auto& [name, value] : after)
    if (before.at(name) != value) changes.emplace(name, value);
  return changes;
}

inline std::string yesOrNo(bool value) { return value ? "yes" : "no"; }

// The texts in alphabetical order.
inline std::string joinedTexts(std::vector<std::string> texts) {
  std::ranges::sort(texts);
  std::string joined;
  for (const std::string& text : texts) joined += joined.empty() ? text : " " + text;
  return joined;
}

}  // namespace kelpie
