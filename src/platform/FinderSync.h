#pragma once

#include <optional>
#include <string_view>

#include "foundation/Image.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/URL.h"
#include "platform/FIMenuKind.h"

namespace kelpie {

// The extension as a file manager drives it: the counterpart of FinderSyncController. The core
// implements it, an operating system calls it.
class FinderSync {
 public:
  virtual ~FinderSync() = default;

  // The item that the extension has in the toolbar of a window; texts are borrowed for the life of
  // the process.
  struct ToolbarItem {
    std::string_view name;
    std::string_view toolTip;
    Image image;
  };
  // Any thread.
  virtual ToolbarItem toolbarItem() const = 0;

  // -- Folders and badges: any thread; each returns at once ---------------------------------------

  // The folder came into view: asks the main application for its repository, and notes the folder
  // and its contents.
  virtual void beginObservingDirectoryAtURL(const URL& url) = 0;
  // The folder left the view: what was noted under it is forgotten.
  virtual void endObservingDirectoryAtURL(const URL& url) = 0;
  // A badge is wanted for the item: sets it if a repository holds the item, and notes the item.
  virtual void requestBadgeIdentifierForURL(const URL& url) = 0;

  // -- Menus and actions: main thread -------------------------------------------------------------

  // The menu of that kind for what the FinderSyncController says is selected; absent when there is
  // none. Raises std::invalid_argument where a message would hold an absent value.
  virtual std::optional<Menu> menuForMenuKind(FIMenuKind kind) = 0;
  // The user has chosen this item of the last menu: calls the operation that its action names.
  // False when the item has no action or it is not known. Raises std::invalid_argument where the
  // action's message would hold an absent value.
  virtual bool performAction(const MenuItem& item) = 0;

 protected:
  FinderSync() = default;
  FinderSync(const FinderSync&) = default;
  FinderSync& operator=(const FinderSync&) = default;
};

}  // namespace kelpie
