#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/Object.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"
#include "status/ObservedPaths.h"
#include "support/FakePlatform.h"

namespace kelpie {

// One open repository: root "/r", git directory "/r/.git", on fakes that are drained by hand.
class RepositoryFixture : public testing::Test {
 protected:
  RepositoryFixture() {
    platform.files->addFolder("/r/.git");
    showFolderStatus(false);  // it is on unless the user says otherwise
    repository = KPRepository::create(url("/r"), url("/r/.git"), observedPaths, platform.platform(),
                                      settings);
  }

  static URL url(std::string_view path) { return URL::fileURLWithPath(path); }
  static Object urls(const std::vector<std::string>& paths) {
    Objects result;
    for (const std::string& path : paths) result.emplace_back(url(path));
    return {std::move(result)};
  }
  // The path of the placeholder of a deleted item.
  static std::string gone(std::string_view path) {
    std::string placeholder(path);
    placeholder.append(" \x0E").append(".kelpieDeleted");
    return placeholder;
  }

  // Adds the file and gives its path.
  std::string file(std::string_view path) {
    platform.files->addFile(path);
    return std::string(path);
  }
  Object identifier(std::string_view path) {
    return Object::orNil(url(path).identifier(*platform.files));
  }

  // Status entries, by path: for what exists under its identifier, else under the path.
  using Entries = std::vector<std::pair<std::string, int>>;
  Object entries(const Entries& list) {
    Dictionary result;
    for (const auto& [path, word] : list) {
      const Object key = identifier(path);
      result.set(key.isNil() ? Object::path(path) : key, Objects{word, Object::path(path)});
    }
    return Object(std::move(result)).mutableCopy();
  }
  // A status dictionary whose changed items are those with a word that is neither 0 nor ignored,
  // and whose placeholders are those of the entries that are.
  Dictionary statusInfo(const Entries& list) {
    Objects dirty;
    Objects deleted;
    for (const auto& [path, word] : list) {
      if (word != 0 && word != 0x4000) dirty.emplace_back(url(path));
      if (path.ends_with(".kelpieDeleted")) deleted.emplace_back(url(path));
    }
    return {{"KPRepositoryState", 0},         {"KPRepositoryStatus", entries(list)},
            {"KPStatusDirtyURLs", dirty},     {"KPStatusIgnoredURLs", Objects{}},
            {"KPStatusDeletedURLs", deleted}, {"KPStatusNewCount", 0}};
  }

  void showFolderStatus(bool show) {
    platform.groupDefaults().changeFromOutside(kShowFolderGitStatusKey, show);
  }
  // Takes the status in and runs all that follows from it.
  void send(const Object& info) {
    repository->setStatusInfo(info);
    platform.runAll();
  }
  // The badge that the item gets when the file manager asks for it; absent when none is set.
  std::optional<std::string> ask(std::string_view path) {
    platform.finder.forgetBadges();
    repository->addObservedURL(url(path));
    platform.runAll();
    return platform.finder.badgeFor(path);
  }
  std::optional<StatusWord> word(std::string_view path) const {
    return repository->statusOfItemAtURL(url(path));
  }

  FakePlatform platform;
  KPUserDefaults settings{platform.platform()};
  std::shared_ptr<ObservedPaths> observedPaths = std::make_shared<ObservedPaths>();
  std::shared_ptr<KPRepository> repository;
};

}  // namespace kelpie
