#pragma once

#include <memory>
#include <optional>

#include "foundation/Menu.h"
#include "platform/FIMenuKind.h"
#include "platform/Platform.h"

namespace kelpie {

class KPRepository;
class KPUserDefaults;
class MenuHost;

// Builds the menus that the file manager asks for, from the user's lists of items and the current
// selection. Main thread.
class MenuAssembly {
 public:
  // All are borrowed for the life of this object.
  MenuAssembly(MenuHost& host, const Platform& platform, KPUserDefaults& defaults)
      : host_(host), platform_(platform), defaults_(defaults) {}

  // The menu. Absent where the file manager is to show none: while the main application does not
  // run (except in the toolbar, whose menu says so), for the sidebar and for an unknown kind. A
  // menu without any item that applies is present and empty. Sets the host's target URLs and sender
  // objects, and tells the main application which repository is about to be used. Blocks while each
  // target is looked at once and as long as MenuHost::sendMessage().
  std::optional<Menu> menuForMenuKind(FIMenuKind kind) const;

 private:
  void setTargets() const;
  std::shared_ptr<KPRepository> repositoryOfTargets(const FileSystem& files) const;
  bool canCreateAtTarget(const FileSystem& files) const;
  void unshallow(const KPRepository& repository) const;

  MenuHost& host_;
  const Platform& platform_;
  KPUserDefaults& defaults_;
};

}  // namespace kelpie
