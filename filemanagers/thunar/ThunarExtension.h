#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "common/FileManagerSession.h"
#include "common/MenuWait.h"
#include "glib/ExtensionService.h"
#include "glib/HostLinkDriver.h"
#include "thunar/OpenWindows.h"

namespace kelpie::filemanagers {

// The one session of this Thunar, with what drives it. Thunar asks extensions for menus only; the
// folders in view are what its windows say they show. Main thread.
class ThunarExtension {
 public:
  // The one of this process, made when it is first asked for; it stays.
  static ThunarExtension& instance();

  FileManagerSession& session() { return session_; }

  // The menu as it is to be shown; null when there is none to show. With `isOpening` the user looks
  // at it now, and it stays as it is while it is open: an answer on its way is waited for a little.
  std::shared_ptr<const ShownMenu> menu(const HostClient::MenuQuestion& question, bool isOpening);
  void choose(const HostClient::MenuQuestion& question, const ShownItem& item) {
    session_.choose(question, item, HostClient::Clock::now());
  }

 private:
  ThunarExtension();

  FileManagerSession session_;
  HostLinkDriver driver_;
  ExtensionService service_;
  OpenWindows windows_;
  MenuWait wait_;
};

}  // namespace kelpie::filemanagers
