#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {

// The settings that git printed with `git config -z --list`. Keys are as git prints them: section
// and variable in lower case, a subsection as it is written. All bytes.
class GitConfig {
 public:
  // Text that is not such output reads as no settings.
  static GitConfig parse(std::string_view output);

  // The effective value, which is the last one; absent when the key is not set.
  std::optional<std::string> get(std::string_view key) const;
  std::vector<std::string> all(std::string_view key) const;
  // As git reads a boolean; `fallback` when the key is not set or not a boolean.
  bool getBool(std::string_view key, bool fallback) const;
  // The subsections of a section, such as the remotes of "remote", in the order of the settings.
  std::vector<std::string> subsections(std::string_view section) const;

 private:
  // A key without a value, which is a true boolean, has none here.
  using Values = std::vector<std::optional<std::string>>;
  std::map<std::string, Values, std::less<>> values_;
  std::vector<std::string> keys_;  // in order, each once
};

}  // namespace kelpie::agent
