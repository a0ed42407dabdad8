#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/GitCommand.h"
#include "foundation/Result.h"

namespace kelpie::agent {

// The effective settings in a folder, and the owner of each. A value.
class ScopedConfig {
 public:
  struct Entry {
    std::string key;  // as git prints it: section and variable in lower case
    std::optional<std::string> value;
    std::string file;    // where it stands, absolute; empty when it stands in no file
    bool isOwn = false;  // the repository's own, not the user's or the system's
  };

  // Asks git in the folder of `git`, which runs nothing.
  static Result<ScopedConfig> read(const GitCommand& git);

  const std::vector<Entry>& entries() const { return entries_; }
  // The last value that the user or the system gives to the key; empty without one.
  std::string usersValue(std::string_view key) const;
  // The files that the settings come from, and files to be included that do not exist yet.
  // Absolute.
  std::vector<std::string> files() const;

 private:
  static std::optional<ScopedConfig> parse(std::string_view output, const std::string& folder);

  std::vector<Entry> entries_;
  std::map<std::string, std::string, std::less<>> usersValues_;
};

}  // namespace kelpie::agent
