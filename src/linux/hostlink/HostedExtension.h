#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Image.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/URL.h"

namespace kelpie {

// The extension as a file manager sees it: what the host link drives. Main queue.
class HostedExtension {
 public:
  virtual ~HostedExtension() = default;

  virtual std::string toolbarItemName() const = 0;
  virtual std::string toolbarItemToolTip() const = 0;
  virtual Image toolbarItemImage() const = 0;

  // The folder came into view; it left the view; a badge is wanted. These return at once.
  virtual void beginObservingDirectoryAtURL(const URL& url) = 0;
  virtual void endObservingDirectoryAtURL(const URL& url) = 0;
  virtual void requestBadgeIdentifierForURL(const URL& url) = 0;

  // The menu of that kind for what the FinderSyncController says is selected; missing when there is
  // none.
  virtual std::optional<Menu> menuForMenuKind(std::uint64_t kind) = 0;
  // The user has chosen the item. False when its action is not known. Raises std::invalid_argument
  // where the action's message would hold an absent value.
  virtual bool performAction(const MenuItem& item) = 0;
};

}  // namespace kelpie
