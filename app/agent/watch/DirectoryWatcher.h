#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "foundation/Mutex.h"
#include "foundation/ThreadBound.h"

namespace kelpie::agent {

// Tells when something in a folder changes, by one inotify instance for the whole process: the
// system allows a user only a few of them.
class DirectoryWatcher {
 public:
  struct Event {
    enum class Kind {
      Changed,     // the content or the attributes of the entry
      Appeared,    // a new entry, or one that was moved here
      Gone,        // deleted, or moved elsewhere
      FolderGone,  // the watched folder itself, deleted or moved; the name is empty
      Lost,        // events were lost: anything may have changed; folder and name are empty
    };
    Kind kind = Kind::Changed;
    std::string folder;  // as it was given to add()
    std::string name;    // bytes
    bool isFolder = false;
  };
  using Handler = std::function<void(const Event& event)>;
  using Client = std::uint64_t;

  enum class Outcome {
    Watched,  // from now on
    WatchedBefore,
    NotThere,      // nothing is there, it is not a folder, or it is not readable
    LimitReached,  // no more folders can be watched
  };

  // What of a folder is told. Of a folder that several watch, each may be told more.
  enum class Interest {
    Everything,
    Writes,  // which entries there are, and which were written; not each change of one
    Names,   // which entries there are
  };

  // At most `limit` folders are watched at a time, fewer when the system says so.
  explicit DirectoryWatcher(std::size_t limit);
  ~DirectoryWatcher();
  DirectoryWatcher(const DirectoryWatcher&) = delete;
  DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

  // Three quarters of what the system allows one user.
  static std::size_t defaultLimit();

  // Main thread. `handler` runs on the main loop until the client is removed.
  Client addClient(Handler handler);
  // Main thread. Ends all its watches; its handler is not called any more.
  void removeClient(Client client);
  // Any thread. A modest client leaves half of the watches to the others.
  void setModest(Client client, bool modest);

  // Any thread. Links are not followed.
  Outcome add(Client client, const std::string& folder, Interest interest = Interest::Everything);
  // Any thread. Ends the client's watch of the folder alone.
  void remove(Client client, const std::string& folder);
  // Any thread. Ends the client's watches of the folder and of all below it.
  void removeWithin(Client client, std::string_view folder);

  // Folders that are watched at present, each once. Any thread.
  std::size_t count() const;
  std::set<std::string> foldersOf(Client client) const;

  // Main thread. Where the system had no descriptor to give when this was made, asks for one again;
  // with it, every client is told that events were lost. Whether there is one.
  bool open();
  // The descriptor that becomes readable when something has happened, for a main loop; -1 when the
  // system has no more to give. Main thread.
  int descriptor() const;
  // Main thread. Calls the handlers for what has happened.
  void dispatch();

 private:
  struct Watch {
    std::vector<std::pair<Client, std::string>> watchers;
  };
  struct Subscriber {
    std::shared_ptr<const Handler> handler;
    std::map<std::string, int, std::less<>> folders;
    bool modest = false;
  };

  // To all clients.
  void tellLost();
  void deliver(int watch, std::uint32_t mask, std::string_view name);
  void call(Client client, const Event& event);
  // Ends one watcher's interest.
  void release(Client client, const std::string& folder, int watch) KELPIE_REQUIRES(mutex_);
  // The system has ended the watch.
  void forget(Client client, const std::string& folder, int watch) KELPIE_REQUIRES(mutex_);

  const std::size_t limit_;
  mutable Mutex mutex_;  // never held while a handler runs
  int inotify_ KELPIE_GUARDED_BY(mutex_) = -1;
  std::unordered_map<int, Watch> watches_ KELPIE_GUARDED_BY(mutex_);
  std::unordered_map<Client, Subscriber> clients_ KELPIE_GUARDED_BY(mutex_);
  Client lastClient_ KELPIE_GUARDED_BY(mutex_) = 0;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
