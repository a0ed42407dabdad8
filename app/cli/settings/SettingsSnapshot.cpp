#include "cli/settings/SettingsSnapshot.h"

#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"

namespace kelpie::cli {

SettingsSnapshot::SettingsSnapshot(Dictionary stored)
    : stored_(std::move(stored)),
      registered_{{kShowFolderGitStatusKey, true},
                  {kContextualMenuItemsKey, KPUserDefaults::defaultFinderMenuItems()},
                  {kToolbarItemMenuItemsKey, KPUserDefaults::defaultFinderMenuItems()}} {}

Object SettingsSnapshot::objectForKey(std::string_view key) const {
  const Object* value = stored_.find(key);
  return value != nullptr ? *value : registered_[key];
}

void SettingsSnapshot::setObject(std::string_view key, const Object& value) {
  stored_.set(key, value);
}

void SettingsSnapshot::removeObject(std::string_view key) { stored_.remove(key); }

void SettingsSnapshot::registerDefaults(const Dictionary& defaults) {
  for (const auto& [key, value] : defaults.entries()) registered_.set(key, value);
}

Dictionary SettingsSnapshot::dictionaryRepresentation() const {
  Dictionary all = registered_;
  for (const auto& [key, value] : stored_.entries()) all.set(key, value);
  return all;
}

std::unique_ptr<DefaultsObservation> SettingsSnapshot::observe(std::string_view /*key*/,
                                                               std::function<void()> /*onChange*/) {
  return std::make_unique<DefaultsObservation>();
}

}  // namespace kelpie::cli
