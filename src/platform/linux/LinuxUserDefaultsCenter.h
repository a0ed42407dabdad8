#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "foundation/Mutex.h"
#include "linux/base/MainLoop.h"
#include "platform/UserDefaults.h"
#include "platform/linux/DefaultsStore.h"
#include "platform/linux/DefaultsWatch.h"
#include "platform/linux/LinuxUserDefaults.h"

namespace kelpie {

// The settings of this user, one file a suite in one folder, which is watched.
class LinuxUserDefaultsCenter final : public UserDefaultsCenter {
 public:
  // Main thread. `bundleIdentifier` names the standard defaults, and can be the name of a file.
  // `loop` outlives this and all stores.
  LinuxUserDefaultsCenter(MainLoop& loop, std::string_view bundleIdentifier);

  UserDefaults& standardDefaults() override { return standard_; }
  // Null when the suite's name cannot be that of a file.
  std::unique_ptr<UserDefaults> defaultsWithSuiteName(std::string_view suite) override;

 private:
  std::shared_ptr<DefaultsStore> open(DefaultsFile file);
  void checkForChanges();
  // Any thread. Checks once more in a while, for a store whose file could not be read.
  void checkAgain();

  MainLoop& loop_;
  DefaultsWatch watch_;  // before anything is read: no change is missed
  Mutex mutex_;
  std::vector<std::weak_ptr<DefaultsStore>> stores_ KELPIE_GUARDED_BY(mutex_);
  std::unique_ptr<EventLoop::Timer> again_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  LinuxUserDefaults standard_;
};

}  // namespace kelpie
