#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/AskedPaths.h"
#include "common/MenuCache.h"
#include "common/ShownMenu.h"
#include "common/TrackedItems.h"
#include "common/VisitedFolders.h"
#include "linux/hostclient/HostClient.h"

namespace kelpie::filemanagers {

// What a file manager shows of the extension: emblems, labels and menus, in the file manager's own
// spelling of paths, and never waiting for an answer. Knows no toolkit and does no I/O but to
// resolve the symbolic links of a folder; whoever owns it moves the bytes and keeps the time. Paths
// are absolute and bytes. One thread; the handlers may call back.
class FileManagerSession {
 public:
  using Time = HostClient::Time;
  using Token = TrackedItems::Token;

  struct Handlers {
    std::function<void()> onItemsChanged;    // takeChanged() has some
    std::function<void()> onMenusChanged;    // the menu that was shown last is another now
    std::function<void()> onFoldersChanged;  // isObserved() answers otherwise
    std::function<void()> onOutput;          // the client has something to say
    // What the user chose did not happen, for that reason; one line.
    std::function<void(const std::string& title, const std::string& problem)> onRefused;
  };

  // How an item looks: nothing of it in an item without a badge.
  struct Look {
    std::string_view emblem;  // see emblemOf()
    std::string label;        // the badge in words
  };

  // What is to be done with an object that looks otherwise than it was shown.
  struct Change {
    Token token = nullptr;
    // It shows no emblem and gets the one of `look`: for that it need not be asked about anew,
    // which takes a file manager much longer.
    bool isAddition = false;
    Look look;
  };

  // `host` is the name of the file manager.
  FileManagerSession(const std::string& host, Handlers handlers,
                     AskedPaths::Resolver resolver = AskedPaths::realFolder);
  FileManagerSession(const FileManagerSession&) = delete;
  FileManagerSession& operator=(const FileManagerSession&) = delete;

  // -- The connection: for the owner, who moves the bytes -----------------------------------------

  HostClient& client() { return client_; }
  void received(std::string_view bytes, Time now);
  // The connection could not be made, or was closed: no emblem and no menu is known any more.
  void connectionFailed(Time now);
  void ended(Time now);
  void tick(Time now);
  std::optional<Time> wakeAt() const;

  // -- Items --------------------------------------------------------------------------------------

  // The file manager draws the item that it knows by `token`: how it looks, as far as that is
  // known. From now on the token is among those that takeChanged() gives, until it is forgotten.
  Look show(Token token, const std::string& path, bool isFolder);
  bool isTracked(Token token) const { return items_.isTracked(token); }
  void forget(Token token);
  // An item that may look otherwise than it was shown, to be shown again; null when there is none.
  Token takeChanged() { return items_.takeChanged(); }
  // The same for a file manager that can add an emblem to an item. Missing when there is none;
  // those that look as they were shown are left out.
  std::optional<Change> takeChange();
  // Every item is to be shown again, since more than before is shown of each.
  void showAllAgain();
  bool hasChanged() const { return items_.hasChanged(); }
  // How an item that is shown already looks.
  Look look(const std::string& path);

  // -- Folders ------------------------------------------------------------------------------------

  // A window shows the folder (once more); one shows it no longer.
  void enter(const std::string& folder);
  void leave(const std::string& folder);
  // The same for a file manager that does not tell when it leaves a folder: it has gone to this
  // one.
  void visit(const std::string& folder);
  // Whether the folder is one that the user has chosen to see badges in, or lies in one.
  bool isObserved(const std::string& folder);

  // -- Menus --------------------------------------------------------------------------------------

  // The question for a menu, with the extension's spelling of the paths. Kinds as in
  // hostlink::MenuRequest. Missing where the extension is not asked.
  std::optional<HostClient::MenuQuestion> question(std::int64_t kind,
                                                   const std::vector<HostClient::Place>& selected,
                                                   const std::optional<std::string>& folder);
  // The menu as far as it is known; null when it is not.
  std::shared_ptr<const ShownMenu> menu(const HostClient::MenuQuestion& question, Time now);
  // Whether its answer is on its way, so that a wait for it may be worth while.
  bool isAsking(const HostClient::MenuQuestion& question) const {
    return menus_.isAsking(question);
  }
  // Chooses the item, if it is still there; else onRefused() says why not.
  void choose(const HostClient::MenuQuestion& question, const ShownItem& item, Time now);

 private:
  // A folder that windows show.
  struct InView {
    std::string asked;  // its place when it was entered
    std::size_t count = 0;
  };

  Look lookOf(const std::string& asked) const;
  void takeBadges(const std::vector<std::string>& paths);

  Handlers handlers_;
  AskedPaths asked_;
  TrackedItems items_;
  VisitedFolders visited_{{[this](const std::string& folder) { enter(folder); },
                           [this](const std::string& folder) { leave(folder); }}};
  std::unordered_map<std::string, InView> inView_;
  Time now_{};  // of the last call that had one: the handlers have no time of their own
  HostClient client_;
  MenuCache menus_;
};

}  // namespace kelpie::filemanagers
