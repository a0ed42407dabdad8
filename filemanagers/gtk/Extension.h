#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/FileManagerSession.h"
#include "common/MenuWait.h"
#include "glib/ExtensionService.h"
#include "glib/HostLinkDriver.h"
#include "gtk/HostApi.h"

namespace kelpie::filemanagers {

// The one session of this file manager, with what drives it, and the file manager's objects that it
// tells of changes. Main thread.
class Extension {
 public:
  // The one of this process, made when it is first asked for; it stays.
  static Extension& instance();

  FileManagerSession& session() { return session_; }

  // What the file manager knows the label of a file by.
  static constexpr const char* kStatusAttribute = "kelpie_status";

  // The file manager draws the file: gives it its emblem and its label.
  void show(HostFile* file);
  // The file manager has views with columns from now on: only those show labels.
  void columnsWanted();

  // The menu as it is to be shown; null when there is none to show. With `isOpening` the user looks
  // at it now: one that is not known or out of date is waited for.
  std::shared_ptr<const ShownMenu> menu(const HostClient::MenuQuestion& question, bool isOpening);
  void choose(const HostClient::MenuQuestion& question, const ShownItem& item) {
    session_.choose(question, item, HostClient::Clock::now());
  }

  // Who is told when a menu that it was given is another now, until it is taken out.
  void addProvider(gpointer provider) { providers_.push_back(provider); }
  void removeProvider(gpointer provider) { std::erase(providers_, provider); }
  // Who is told when other folders are observed than before.
  class FolderListener {
   public:
    virtual ~FolderListener() = default;
    virtual void foldersChanged() = 0;
  };
  void addListener(FolderListener* listener) { listeners_.push_back(listener); }
  void removeListener(FolderListener* listener) { std::erase(listeners_, listener); }

 private:
  Extension();

  void give(HostFile* file, const FileManagerSession::Look& look) const;
  void tellOfItems();
  void tellOfMenus();
  void tellOfFolders();
  static void fileGone(gpointer self, GObject* file);
  static gboolean showChanged(gpointer self);
  static gboolean tellProviders(gpointer self);

  FileManagerSession session_;
  HostLinkDriver driver_;
  ExtensionService service_;
  GSourcePtr changes_;   // while items are to be shown again
  GSourcePtr newMenus_;  // while the providers are to be told
  bool hasColumns_ = false;
  MenuWait wait_;
  std::vector<gpointer> providers_;
  std::vector<FolderListener*> listeners_;
};

// The path of a file on a local file system, in the file manager's spelling; missing for any other.
std::optional<std::string> localPathOf(HostFile* file);
// The same of a URI.
std::optional<std::string> localPathOfUri(const char* uri);

}  // namespace kelpie::filemanagers
