#include "agent/PublishedSettings.h"

#include "foundation/Bytes.h"
#include "foundation/Object.h"
#include "platform/linux/Bookmark.h"
#include "settings/SettingsKeys.h"

namespace kelpie::agent {
namespace {

// A list that was emptied later is the user's own choice.
bool hasNoFoldersYet(const Dictionary& values) {
  const Object folders = values[kFoldersPathsKey];
  const bool isFirstStart = values[kApplicationVersionKey].isNil();
  return folders.isNil() || (isFirstStart && folders.isArray() && folders.size() == 0);
}

}  // namespace

std::optional<std::string> PublishedSettings::publish(std::string_view version,
                                                      const std::string& home) const {
  return file_.update([&](Dictionary& values) {
    bool isChanged = false;
    if (hasNoFoldersYet(values)) {
      if (const std::optional<Bytes> bookmark = Bookmark::make(home)) {
        values.set(kFoldersPathsKey, Objects{Object(*bookmark)});
        isChanged = true;
      }
    }
    if (values[kApplicationVersionKey].string() != version) {
      values.set(kApplicationVersionKey, version);
      isChanged = true;
    }
    return isChanged;
  });
}

}  // namespace kelpie::agent
