#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "platform/UserDefaults.h"

namespace kelpie::cli {

// The shared settings as they were read at one time, with the extension's own defaults behind them.
// Changes stay in memory, until somebody writes `stored()` back. One thread.
class SettingsSnapshot final : public UserDefaults {
 public:
  explicit SettingsSnapshot(Dictionary stored);

  const Dictionary& stored() const { return stored_; }
  bool isStored(std::string_view key) const { return stored_.find(key) != nullptr; }

  Object objectForKey(std::string_view key) const override;
  void setObject(std::string_view key, const Object& value) override;
  void removeObject(std::string_view key) override;
  void registerDefaults(const Dictionary& defaults) override;
  Dictionary dictionaryRepresentation() const override;
  // Nobody else changes a snapshot, so observers are never called.
  std::unique_ptr<DefaultsObservation> observe(std::string_view key,
                                               std::function<void()> onChange) override;

 private:
  Dictionary stored_;
  Dictionary registered_;
};

}  // namespace kelpie::cli
