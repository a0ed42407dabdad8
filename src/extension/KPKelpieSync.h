#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/ThreadBound.h"
#include "menus/MenuAssembly.h"
#include "menus/MenuHost.h"
#include "platform/FinderSync.h"
#include "platform/Platform.h"

namespace kelpie {

class ActionForwarder;
class FolderRegistry;
class FolderTables;
class KPUserDefaults;
class MessageLink;
class ObservationQueue;
class ObservedPaths;
class PresenceMonitor;
class RepositoryTable;

// The extension's one controller. The file manager calls it, and the main application's messages
// reach it. It owns the parts that do the work and hands each call to the part it concerns.
//
// One per process, made, used and let go on the main thread. Operations marked "any thread" return
// at once and do their work on the observer queue; work that is still queued there when the
// controller goes keeps what it needs alive.
class KPKelpieSync final : public FinderSync, public MenuHost {
 public:
  // The class set-up: registers the badges with the file manager, clears stale keys out of the
  // extension's own standard defaults, and makes the reference records known to the codec. To be
  // called once per process, before the first controller is made.
  static void initialize(const Platform& platform);

  // Raises the limit on open files, opens the receiving port, hands the configured folders to the
  // file manager and looks for the main application, in this order. Null when the limit cannot be
  // raised; nothing is set up then, and nothing reported. `defaults` is borrowed for the life of
  // the process. Raises std::invalid_argument as setApplicationPid() does.
  static std::unique_ptr<KPKelpieSync> create(const Platform& platform, KPUserDefaults& defaults);

  // Ends the observations, in the reverse order of their making, and lets the sending port go; the
  // process watch stays. The receiving port closes last.
  ~KPKelpieSync() override;
  KPKelpieSync(const KPKelpieSync&) = delete;
  KPKelpieSync& operator=(const KPKelpieSync&) = delete;

  // -- The toolbar item ---------------------------------------------------------------------------

  static std::string_view toolbarItemName() { return "KElpie"; }
  static std::string_view toolbarItemToolTip() { return ""; }
  static Image toolbarItemImage() { return Image{"StatusItemIcon"}; }

  // -- FinderSync ---------------------------------------------------------------------------------

  ToolbarItem toolbarItem() const override {
    return {toolbarItemName(), toolbarItemToolTip(), toolbarItemImage()};
  }
  void beginObservingDirectoryAtURL(const URL& url) override;
  void endObservingDirectoryAtURL(const URL& url) override;
  void requestBadgeIdentifierForURL(const URL& url) override;
  // See MenuAssembly::menuForMenuKind().
  std::optional<Menu> menuForMenuKind(FIMenuKind kind) override;
  bool performAction(const MenuItem& item) override;

  // -- Actions: main thread -----------------------------------------------------------------------

  // The actions: see ActionForwarder.
  void remoteRepositoryAction(const Object& sender);
  void applicationAction(const Object& sender);
  void clone();
  void createRepository();

  // -- The main application -----------------------------------------------------------------------

  // Hands the folders of the settings to the file manager. Any thread.
  void updateFolders();
  // Looks for the main application. Main thread. Raises as setApplicationPid() does.
  void updateApplicationRunning();
  // Notes that the main application is the process `pid`, or is gone if that is below 1. Main
  // thread. Raises std::invalid_argument when there is no receiving port to tell it of; nothing has
  // changed then.
  void setApplicationPid(std::int32_t pid);
  // The answer to a request for a repository: its working directory first, its git directory last.
  // Does nothing for a repository that is open in its place already. Main thread; the repository is
  // made on the observer queue.
  void openRepositoryWithUrls(const Object& urls);
  // Decodes one message of the main application and calls the operation that it names: the
  // controller's, else that of the repository it is meant for. Anything else is dropped, and so is
  // a message that says more than its bytes can hold. A long message for a repository is handled on
  // the repository's update queue, as are those that come while it waits. Any other message is read
  // for a few milliseconds at most, so that menus do not wait. Main thread.
  void handleSelectorMessage(std::shared_ptr<const Bytes> message);

  // -- Properties ---------------------------------------------------------------------------------
  // Read on any thread but where noted, set on the main thread. Setters that take an Object are
  // reached by messages of the main application: entries that the property cannot hold are left
  // out, and a value of another class counts as nil. A table that is set to nil becomes empty, so
  // that one bad message does not end the extension's work.

  // Opened repositories, by identifier. No message can carry a repository, so setting this empties
  // it.
  const RepositoryTable& repositories() const;
  void setRepositories();
  // For each folder shown, by its identifier, the paths of all items shown in it or asked about.
  std::shared_ptr<const ObservedPaths> allObservedFiles() const;
  void setAllObservedFiles(const Object& files);
  // Two properties: `inactiveObservedFiles`, the folders that were shown, by the identifier of
  // their parent; and `observedDirectories`, the folders whose repository was asked for and is not
  // open yet.
  const FolderTables& folders() const;
  void setInactiveObservedFiles(const Object& folders);
  void setObservedDirectories(const Object& urls);
  // The sending port; null until first needed.
  std::shared_ptr<RemoteMessagePort> port() const;
  void setPort(std::shared_ptr<RemoteMessagePort> port);
  // The name of the receiving port; absent when it could not be made.
  std::optional<std::string> portName() const;
  void setPortName(const Object& name);
  // The watch on the main application; null while none runs. Main thread.
  std::shared_ptr<ProcessMonitor> monitor() const;
  void setMonitor(std::shared_ptr<ProcessMonitor> monitor);
  void setSenderObjects(const Object& objects);
  void setTargetURLs(const Object& urls);

  // -- MenuHost -----------------------------------------------------------------------------------

  std::int32_t applicationPid() const override;
  std::shared_ptr<KPRepository> repositoryForURL(
      const URL& url, const FileSystem& files = FileSystem::current()) const override;
  std::vector<std::shared_ptr<KPRepository>> repositoriesForURLs(
      const std::vector<URL>& urls, const FileSystem& files) const override;
  void sendMessage(const Dictionary& message, std::int32_t id) override;
  const std::vector<URL>& targetURLs() const override {
    thread_.check();
    return targetURLs_;
  }
  void setTargetURLs(std::vector<URL> urls) override;
  SenderObjects& senderObjects() override {
    thread_.check();
    return senderObjects_;
  }

 private:
  KPKelpieSync(const Platform& platform, KPUserDefaults& defaults);

  void start();
  // Whether the message was read beyond what its bytes can hold, and so must be dropped. Logs a
  // line if so.
  bool isRefused(const Object& argument) const;
  void receiveMessage(std::int32_t id, std::shared_ptr<const Bytes> message,
                      LocalMessagePort::Completion done);

  ThreadBound thread_;
  const Platform platform_;
  KPUserDefaults& defaults_;
  const std::shared_ptr<MessageLink> link_;         // shared with the registry
  const std::shared_ptr<FolderRegistry> registry_;  // shared with the work on the observer queue
  const std::unique_ptr<ObservationQueue> observerQueue_;
  const std::unique_ptr<PresenceMonitor> presence_;
  const std::unique_ptr<ActionForwarder> actions_;
  MenuAssembly menus_;
  std::vector<URL> targetURLs_;           // main thread
  SenderObjects senderObjects_;           // main thread
  std::uint64_t repositoryOpenings_ = 0;  // main thread: how often work was queued to open one
  std::unique_ptr<LocalMessagePort> receivingPort_;
  std::unique_ptr<DefaultsObservation> foldersObservation_;
  std::unique_ptr<NotificationObservation> runningObservation_;
};

}  // namespace kelpie
