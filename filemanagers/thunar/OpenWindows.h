#pragma once

#include <functional>
#include <map>
#include <string>

#include "thunar/ThunarApi.h"

namespace kelpie::filemanagers {

// The folder that each window of Thunar shows. Extensions are not told, but a window has a property
// that says so. Windows are known by weak references only. Where a window has no such property,
// nothing is told. Main thread.
class OpenWindows {
 public:
  struct Handlers {
    // A window shows the folder (once more); one shows it no longer.
    std::function<void(const std::string& folder)> onEnter;
    std::function<void(const std::string& folder)> onLeave;
  };

  // Of the windows that are there, and of all that will be. Never let go.
  explicit OpenWindows(Handlers handlers);
  OpenWindows(const OpenWindows&) = delete;
  OpenWindows& operator=(const OpenWindows&) = delete;

 private:
  void add(GtkWindow* window);
  void look(GObject* window);
  void go(GObject* window, const std::string& folder);

  static void added(GtkApplication* application, GtkWindow* window, gpointer self);
  static void folderChanged(GObject* window, GParamSpec* property, gpointer self);
  static void gone(gpointer self, GObject* window);

  Handlers handlers_;
  std::map<GObject*, std::string> folders_;  // "" for one that is not local
};

}  // namespace kelpie::filemanagers
