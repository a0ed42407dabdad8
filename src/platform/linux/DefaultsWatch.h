#pragma once

#include <functional>
#include <memory>
#include <string>

#include "linux/base/MainLoop.h"
#include "linux/base/UniqueFd.h"
#include "platform/linux/DefaultsFile.h"

namespace kelpie {

// Tells when a file in the folder of the settings may have changed. The folder is made when it is
// missing, and again when it goes. Main thread.
class DefaultsWatch {
 public:
  // Calls `onChange` on the main loop, once for changes that come close together. `file` is any
  // file in the folder. What keeps the folder from being made or watched is logged as one line;
  // nothing is told then. `loop` outlives this.
  DefaultsWatch(MainLoop& loop, DefaultsFile file, std::function<void()> onChange);
  DefaultsWatch(const DefaultsWatch&) = delete;
  DefaultsWatch& operator=(const DefaultsWatch&) = delete;

 private:
  void watchFolder();
  void readEvents();

  MainLoop& loop_;
  const DefaultsFile file_;
  const std::function<void()> onChange_;
  UniqueFd events_;
  int folder_ = -1;  // the watch on the folder that is there now
  std::unique_ptr<MainLoop::Source> source_;
};

}  // namespace kelpie
