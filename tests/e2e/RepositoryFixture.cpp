#include "e2e/RepositoryFixture.h"

#include <sys/stat.h>

#include <optional>

#include "foundation/Dictionary.h"
#include "platform/linux/Bookmark.h"
#include "platform/linux/FileIdentity.h"
#include "settings/SettingsKeys.h"

namespace kelpie {

Object RepositoryFixture::identifierOf(const std::string& path) {
  struct stat found = {};
  EXPECT_EQ(::lstat(path.c_str(), &found), 0) << path;
  return fileIdentifier(found).toObject();
}

void RepositoryFixture::addRepository() {
  repository = session.home().addFolder("repository");
  session.home().addFolder("repository/.git");
  file = session.home().addFile("repository/a file.txt", "x");
}

void RepositoryFixture::chooseFolders(const std::vector<std::string>& paths) {
  Objects bookmarks;
  for (const std::string& path : paths) bookmarks.emplace_back(Bookmark::make(path).value());
  EXPECT_EQ(session.sharedDefaults().update([&](Dictionary& values) {
    values.set(Object(kFoldersPathsKey), bookmarks);
    return true;
  }),
            std::nullopt);
}

Object RepositoryFixture::status() const {
  return Dictionary{{"KPRepositoryState", 0},
                    {"KPRepositoryStatus",
                     Dictionary{{identifierOf(file), Objects{0x0100, Object::path(file)}}}}};
}

void RepositoryFixture::answerWithRepository(TestApplication& application,
                                             const std::string& portName) const {
  application.send(portName, "openRepositoryWithUrls:", Object(),
                   Objects{URL::fileURLWithPath(repository, true),
                           URL::fileURLWithPath(repository + "/.git", true)});
  application.send(portName, "setStatusInfo:", identifierOf(repository), status());
}

}  // namespace kelpie
