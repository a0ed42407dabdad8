#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Bundle.h"

namespace kelpie {

// The app extension's own bundle. The main application's identifier is that of the build's
// configuration. Any thread.
class MacBundle final : public Bundle {
 public:
  std::string identifier() const override;
  std::string applicationIdentifier() const override;
  std::optional<std::string> infoString(std::string_view key) const override;
  bool hasSystemSymbols() const override;
};

}  // namespace kelpie
