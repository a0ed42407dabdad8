#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/URL.h"
#include "menus/SenderObjects.h"

namespace kelpie {

class FileSystem;
class KPRepository;

// What building a menu asks of the controller, and what it leaves there for the actions. The
// controller implements it. Thread of the menu request, which is the main thread.
class MenuHost {
 public:
  virtual ~MenuHost() = default;

  // The main application's process id; negative while it does not run, 0 before the first check.
  virtual std::int32_t applicationPid() const = 0;

  // The open repository that holds the URL, or null. Asks `files` instead of the process's own file
  // system, so that many targets in one folder cost one look at that folder.
  virtual std::shared_ptr<KPRepository> repositoryForURL(const URL& url,
                                                         const FileSystem& files) const = 0;

  // The open repositories that hold the URLs, each once. The same as asking for each URL, but what
  // is learned for one item of a folder serves for all.
  virtual std::vector<std::shared_ptr<KPRepository>> repositoriesForURLs(
      const std::vector<URL>& urls, const FileSystem& files) const = 0;

  // Sends a message to the main application under the id; failures are reported by the controller.
  // Blocks for at most the time-outs of the message link.
  virtual void sendMessage(const Dictionary& message, std::int32_t id) = 0;

  // The items that the last menu was built for.
  virtual const std::vector<URL>& targetURLs() const = 0;
  virtual void setTargetURLs(std::vector<URL> urls) = 0;

  // What the actions of the last menus work on.
  virtual SenderObjects& senderObjects() = 0;

 protected:
  MenuHost() = default;
  MenuHost(const MenuHost&) = default;
  MenuHost(MenuHost&&) = default;
  MenuHost& operator=(const MenuHost&) = default;
  MenuHost& operator=(MenuHost&&) = default;
};

}  // namespace kelpie
