#include "cli/settings/SharedSettings.h"

#include <utility>

#include "Configuration.h"
#include "platform/linux/DefaultsFile.h"

namespace kelpie::cli {
namespace {

constexpr const char* kNoHome = "nobody says where the home folder is (HOME is not set)";

}  // namespace

Result<SettingsSnapshot> SharedSettings::read() {
  const auto file = DefaultsFile::ofSuite(kApplicationGroup);
  if (!file) return Problem{kNoHome};
  DefaultsFile::Reading reading = file->read();
  if (reading.problem) return Problem{*std::move(reading.problem)};
  return SettingsSnapshot(std::move(reading.values));
}

std::optional<std::string> SharedSettings::update(
    const std::function<bool(SettingsSnapshot& settings)>& change) {
  const auto file = DefaultsFile::ofSuite(kApplicationGroup);
  if (!file) return kNoHome;
  return file->update([&](Dictionary& values) {
    SettingsSnapshot settings(values);
    if (!change(settings)) return false;
    values = settings.stored();
    return true;
  });
}

}  // namespace kelpie::cli
