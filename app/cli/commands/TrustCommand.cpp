#include "cli/commands/TrustCommand.h"

#include <filesystem>
#include <ostream>
#include <system_error>

#include "cli/settings/SharedSettings.h"
#include "cli/text/FilePath.h"
#include "cli/text/JsonText.h"
#include "settings/SettingsKeys.h"
#include "settings/TrustedRepositories.h"

namespace kelpie::cli {
namespace {

TrustedRepositories trustedIn(const SettingsSnapshot& settings) {
  return TrustedRepositories::fromObject(settings.objectForKey(kTrustedRepositoriesKey));
}

}  // namespace

int TrustCommand::run() { return arguments_.verb() == "list" ? list() : change(); }

int TrustCommand::list() {
  const auto settings = SharedSettings::read();
  if (!settings) {
    console_.complain(console_.printable(settings.problem()));
    return kFailure;
  }
  OrderedJson json = OrderedJson::array();
  const TrustedRepositories trusted = trustedIn(*settings);
  for (const std::string& path : trusted.paths())
    if (arguments_.has("json"))
      json.push_back(path);
    else
      console_.out() << console_.printable(path) << '\n';
  if (arguments_.has("json")) printJsonText(console_.out(), json);
  return kSuccess;
}

int TrustCommand::change() {
  const bool removes = arguments_.verb() == "remove";
  int status = kSuccess;
  const auto problem = SharedSettings::update([&](SettingsSnapshot& settings) {
    TrustedRepositories trusted = trustedIn(settings);
    for (const std::string& operand : arguments_.operands()) {
      const std::string path = FilePath::locate(operand).path;
      if (!removes && isRepository(path)) {
        trusted.add(path);
      } else if (!removes) {
        status = kFailure;
      } else if (!trusted.remove(path)) {
        console_.complain(console_.printable(operand) +
                          ": is not in the list; see: kelpie trust list");
        status = kFailure;
      }
    }
    settings.setObject(kTrustedRepositoriesKey, trusted.toObject());
    return true;
  });
  if (!problem) return status;
  console_.complain(console_.printable(*problem));
  return kFailure;
}

// Trust is for one repository; a folder of many would not be what the user thinks it is.
bool TrustCommand::isRepository(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  const fs::path folder(path);
  if (fs::exists(fs::symlink_status(folder / ".git", ignored)) ||
      (fs::exists(folder / "HEAD", ignored) && fs::is_directory(folder / "objects", ignored)))
    return true;
  console_.complain(console_.printable(path) + ": is not the folder of a repository");
  return false;
}

}  // namespace kelpie::cli
