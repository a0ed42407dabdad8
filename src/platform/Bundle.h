#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelpie {

// This extension's own bundle and what the system that runs it offers. Constant. Any thread.
class Bundle {
 public:
  virtual ~Bundle() = default;
  // Such as "org.kelpie.Kelpie.Sync".
  virtual std::string identifier() const = 0;
  // The bundle identifier of the main application, such as "org.kelpie.Kelpie".
  virtual std::string applicationIdentifier() const = 0;
  // A string of the information dictionary, such as "CFBundleVersion"; absent when it has none.
  virtual std::optional<std::string> infoString(std::string_view key) const = 0;
  // Whether the running system has the symbol images (macOS 11 and later).
  virtual bool hasSystemSymbols() const = 0;
};

}  // namespace kelpie
