#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "agent/link/ExtensionPort.h"
#include "agent/watch/DirectoryWatcher.h"
#include "foundation/ThreadBound.h"
#include "linux/base/EventLoop.h"

namespace kelpie::agent {

// The folders that extensions show, as far as this application knows: it is not told when a folder
// is hidden. Watches, by names alone, whether a working copy comes into being or goes at a folder,
// above it, or directly in it. Main thread.
class ShownFolders {
 public:
  struct Callbacks {
    // The working copy that holds the folder may be another one now.
    std::function<void(const std::string& folder)> folderDoubted;
    // In the folder, which is shown, the entry at that path may have become a working copy.
    std::function<void(const std::string& folder, const std::string& entry)> entryDoubted;
  };

  // All outlive this.
  ShownFolders(EventLoop& loop, DirectoryWatcher& names, Callbacks callbacks);
  ~ShownFolders();
  ShownFolders(const ShownFolders&) = delete;
  ShownFolders& operator=(const ShownFolders&) = delete;

  // The extension shows the folder (absolute, bytes).
  void add(const std::string& folder, const std::shared_ptr<ExtensionPort>& port);
  // The extension is gone.
  void forget(const std::string& portName);
  // The extensions that show the folder.
  std::vector<std::shared_ptr<ExtensionPort>> extensionsOf(const std::string& folder) const;
  std::size_t count() const { return folders_.size(); }

  // A working copy may have come or gone at that path: the folders shown there and below are
  // doubted soon, once.
  void doubt(const std::string& path);

  // Watches folders on another queue, where the file system may block. May outlive the
  // ShownFolders, but not the watcher. Any thread.
  class Watches {
   public:
    // Watches a folder that is shown, and those above it. To be called before looking which working
    // copy holds it.
    void addAround(const std::string& folder) const;
    // Watches one more folder, such as one in a folder that is shown. False when it cannot be
    // watched.
    bool add(const std::string& folder) const;

   private:
    friend class ShownFolders;
    Watches(DirectoryWatcher& names, DirectoryWatcher::Client client)
        : names_(&names), client_(client) {}

    DirectoryWatcher* names_;
    DirectoryWatcher::Client client_;
  };
  Watches watches() const { return {names_, client_}; }

  // The most folders that are kept; the oldest is forgotten first.
  static constexpr std::size_t kMaximum = 1000;

 private:
  struct Folder {
    std::map<std::string, std::weak_ptr<ExtensionPort>> ports;
    std::uint64_t age = 0;  // the higher, the later it was shown
  };

  void happened(const DirectoryWatcher::Event& event);
  void forgetOldest();
  // The folder at the path is shown, or one below it.
  bool isShownWithin(const std::string& path) const;
  void tell();

  EventLoop& loop_;
  DirectoryWatcher& names_;
  const Callbacks callbacks_;
  DirectoryWatcher::Client client_;
  std::map<std::string, Folder, std::less<>> folders_;
  std::uint64_t lastAge_ = 0;
  std::set<std::string> doubted_;
  std::unique_ptr<EventLoop::Timer> timer_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
