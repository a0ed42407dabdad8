#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/DefaultsFile.h"

namespace kelpie::agent {

// The main application's part of the settings that it shares with the extension. Any thread; blocks
// as the file system does.
class PublishedSettings {
 public:
  explicit PublishedSettings(DefaultsFile file) : file_(std::move(file)) {}

  // Says which version runs, without which the extension takes no notice of it. At the first start,
  // when no folders are configured, `home` (an absolute path) becomes the observed one. What went
  // wrong, in one line, or nothing.
  std::optional<std::string> publish(std::string_view version, const std::string& home) const;

 private:
  DefaultsFile file_;
};

}  // namespace kelpie::agent
