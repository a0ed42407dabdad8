#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/settings/SettingsSnapshot.h"
#include "foundation/Result.h"

namespace kelpie::cli {

// The settings that all programs share, in their file. Main thread; blocks as the file system does.
class SharedSettings {
 public:
  SharedSettings() = delete;

  // Reads them.
  static Result<SettingsSnapshot> read();
  // Lets `change` alter them and writes them back, in one step; nothing is written when it returns
  // false. What went wrong, in one line, or nothing.
  static std::optional<std::string> update(
      const std::function<bool(SettingsSnapshot& settings)>& change);
};

}  // namespace kelpie::cli
