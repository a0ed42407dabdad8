#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Object.h"
#include "foundation/URL.h"
#include "menus/Selection.h"
#include "protocol/StatusWord.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"
#include "support/FakeMenuHost.h"
#include "support/FakePlatform.h"

namespace kelpie {

// The headers of a menu's sections, as MenuDescription writes them.
inline const std::string kRepositoryHeader = "Git Repository [ApplicationIcon] (disabled)";
inline const std::string kFileHeader = "Git Items [ApplicationIcon] (disabled)";
inline const std::string kApplicationHeader = "Application [ApplicationIcon] (disabled)";

// A machine of fakes on which the repository "/repo" is open. Nothing is known of it at first.
class MenuFixture {
 public:
  using Words = std::initializer_list<std::pair<std::string_view, StatusWord>>;

  MenuFixture();

  // A further repository, with its root folder made, open after those that are open already.
  std::shared_ptr<KPRepository> open(std::string_view root);
  // Makes the files, at these paths, and gives the repository their status words.
  void setStatus(KPRepository& repository, Words words);
  // A URL for each path, whether the items exist or not.
  static std::vector<URL> urls(std::initializer_list<std::string_view> paths);
  // The same as a list of a selection.
  static Object list(std::initializer_list<std::string_view> paths);

  // One reference, remote, submodule, pull request and stash of a kind, and git-flow branches of
  // each; the branch "main" is checked out and tracks "origin/main".
  void addReferences(KPRepository& repository);

  FakePlatform system;
  KPUserDefaults settings;
  FakeMenuHost host;
  std::shared_ptr<KPRepository> repository;
};

}  // namespace kelpie
