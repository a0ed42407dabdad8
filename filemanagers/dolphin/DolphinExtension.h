#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/FileManagerSession.h"
#include "common/MenuWait.h"
#include "qt/QtExtensionService.h"
#include "qt/QtHostLinkDriver.h"

namespace kelpie::filemanagers {

// The session of one plug-in of Dolphin, with what drives it. Each of the two plug-ins is a library
// by itself and may be loaded without the other, so each has its own. Main thread.
class DolphinExtension {
 public:
  // A menu as it is to be shown, and how it was asked for.
  struct Menu {
    HostClient::MenuQuestion question;
    std::shared_ptr<const ShownMenu> items;
  };

  // The one of this plug-in, made when it is first asked for; it stays.
  static DolphinExtension& instance();

  FileManagerSession& session() { return session_; }

  // What is called when items look otherwise, and when other folders are observed; null for
  // nothing.
  void setListeners(std::function<void()> onItemsChanged, std::function<void()> onFoldersChanged);

  // The menu of these items, which the user opens now; missing when there is none to show. It stays
  // as it is while it is open, so what is not known yet is waited for a little, the connection
  // included: Dolphin loads the plug-in when it opens the first menu.
  std::optional<Menu> menu(const std::vector<HostClient::Place>& places);
  void choose(const HostClient::MenuQuestion& question, const ShownItem& item) {
    session_.choose(question, item, HostClient::Clock::now());
  }

 private:
  DolphinExtension();

  std::optional<HostClient::MenuQuestion> questionOf(const std::vector<HostClient::Place>& places);

  std::function<void()> onItemsChanged_;
  std::function<void()> onFoldersChanged_;
  FileManagerSession session_;
  QtHostLinkDriver driver_;
  QtExtensionService service_;
  MenuWait wait_;
};

}  // namespace kelpie::filemanagers
