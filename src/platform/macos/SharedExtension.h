#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "extension/KPKelpieSync.h"
#include "foundation/Mutex.h"
#include "foundation/URL.h"
#include "platform/Platform.h"

namespace kelpie {

// The one controller of a process, shared by all instances of the principal class. The Finder makes
// one of them; further ones are made for open and save dialogs, maybe in the same process, where
// there can be one receiving port only. It lives as long as one of them.
class SharedExtension {
 public:
  // The one that there is, else a new one. Null when no controller can be made; raises as
  // KPKelpieSync::create() does. Main thread.
  static std::shared_ptr<SharedExtension> acquire(const Platform& platform,
                                                  KPUserDefaults& defaults);

  explicit SharedExtension(std::unique_ptr<KPKelpieSync> controller)
      : controller_(std::move(controller)) {}

  KPKelpieSync& controller() { return *controller_; }

  // The Finder's callbacks to one instance, which is told from others by its address. A folder that
  // several of them show leaves the view when the last of them ends it. Any thread.
  void beginObserving(const void* instance, const URL& url);
  void endObserving(const void* instance, const URL& url);
  void requestBadge(const void* instance, const URL& url);
  // The instance goes: what only it has shown leaves the view.
  void forget(const void* instance);

 private:
  using Instances = std::vector<const void*>;

  const std::unique_ptr<KPKelpieSync> controller_;
  Mutex mutex_;  // the controller's callbacks, which only queue work, are called with it held
  // By the folder's path.
  std::unordered_map<std::string, Instances> shown_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
