#include "cli/commands/SettingsCommand.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <vector>

#include "cli/settings/ItemNames.h"
#include "cli/settings/SharedSettings.h"
#include "settings/MenuItemCatalogue.h"

namespace kelpie::cli {

int SettingsCommand::run() {
  const auto& operands = arguments_.operands();
  if (arguments_.verb() == "reset") return reset();
  const Setting* setting = operands.empty() ? nullptr : find(operands.front());
  if (!operands.empty() && setting == nullptr) return kUsage;
  if (arguments_.verb() == "set") return set(*setting);
  const auto settings = SharedSettings::read();
  if (!settings) return refuse(settings.problem(), kFailure);
  return setting == nullptr ? list(*settings) : get(*setting, *settings);
}

int SettingsCommand::list(const SettingsSnapshot& settings) {
  if (arguments_.has("json")) {
    OrderedJson all;
    for (const Setting& setting : Setting::table()) {
      all[std::string(setting.name())] = {{"value", setting.json(settings)},
                                          {"default", setting.isDefault(settings)}};
    }
    OrderedJson& items = all["items"] = OrderedJson::array();
    for (const MenuItemName& item : menuItemCatalogue()) items.push_back(ItemNames::json(item.tag));
    printJsonText(console_.out(), all);
    return kSuccess;
  }
  std::size_t width = 0;
  for (const Setting& setting : Setting::table()) width = std::max(width, setting.name().size());
  for (const Setting& setting : Setting::table()) {
    std::string value = setting.isList() ? "" : setting.switchText(settings);
    if (setting.isList()) {
      for (const std::int64_t tag : setting.tags(settings))
        value += (value.empty() ? "" : ", ") + std::string(ItemNames::titleOf(tag));
      if (value.empty()) value = "none";
    }
    if (setting.isDefault(settings)) value += " (default)";
    console_.out() << setting.name() << std::string(width - setting.name().size() + 2, ' ')
                   << console_.printable(value) << '\n';
  }
  return kSuccess;
}

int SettingsCommand::get(const Setting& setting, const SettingsSnapshot& settings) {
  if (arguments_.has("json")) {
    printJsonText(console_.out(), setting.json(settings));
  } else if (!setting.isList()) {
    console_.out() << setting.switchText(settings) << '\n';
  } else {
    for (const std::int64_t tag : setting.tags(settings)) {
      std::string number = std::to_string(tag);
      number.insert(0, number.size() < 4 ? 4 - number.size() : 0, ' ');
      console_.out() << number << "  " << console_.printable(ItemNames::titleOf(tag)) << '\n';
    }
  }
  return kSuccess;
}

int SettingsCommand::set(const Setting& setting) {
  const std::vector<std::string> words(arguments_.operands().begin() + 1,
                                       arguments_.operands().end());
  std::optional<std::string> wrong;
  const auto problem = SharedSettings::update([&](SettingsSnapshot& settings) {
    wrong = setting.set(settings, words);
    return !wrong;
  });
  if (wrong) return refuse(*wrong, kUsage);
  return problem ? refuse(*problem, kFailure) : kSuccess;
}

int SettingsCommand::reset() {
  std::vector<const Setting*> settings;
  for (const std::string& name : arguments_.operands()) {
    settings.push_back(find(name));
    if (settings.back() == nullptr) return kUsage;
  }
  if (settings.empty())
    for (const Setting& setting : Setting::table()) settings.push_back(&setting);
  const auto problem = SharedSettings::update([&](SettingsSnapshot& stored) {
    for (const Setting* setting : settings) setting->reset(stored);
    return true;
  });
  return problem ? refuse(*problem, kFailure) : kSuccess;
}

const Setting* SettingsCommand::find(const std::string& name) {
  const Setting* setting = Setting::find(name);
  if (setting == nullptr) {
    std::string names;
    for (const Setting& known : Setting::table())
      names += (names.empty() ? "" : ", ") + std::string(known.name());
    refuse("there is no setting \"" + name + "\"; there are " + names, kUsage);
  }
  return setting;
}

int SettingsCommand::refuse(const std::string& problem, int status) {
  console_.complain(console_.printable(problem));
  return status;
}

}  // namespace kelpie::cli
