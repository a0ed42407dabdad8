#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Bundle.h"

namespace kelpie {

// A bundle of the names that the programs have by default, version "1", without system symbols.
// A test changes the members before anything reads them.
class FakeBundle final : public Bundle {
 public:
  std::string bundleIdentifier = "org.kelpie.Kelpie.Sync";
  std::string mainApplicationIdentifier = "org.kelpie.Kelpie";
  std::map<std::string, std::string, std::less<>> information = {{"CFBundleVersion", "1"}};
  bool systemSymbols = false;

  std::string identifier() const override { return bundleIdentifier; }
  std::string applicationIdentifier() const override { return mainApplicationIdentifier; }
  std::optional<std::string> infoString(std::string_view key) const override;
  bool hasSystemSymbols() const override { return systemSymbols; }
};

}  // namespace kelpie
