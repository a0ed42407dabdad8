#include "platform/linux/LinuxUserDefaultsCenter.h"

#include <chrono>
#include <utility>

namespace kelpie {
namespace {

constexpr std::chrono::milliseconds kAgain{3000};

}  // namespace

LinuxUserDefaultsCenter::LinuxUserDefaultsCenter(MainLoop& loop, std::string_view bundleIdentifier)
    : loop_(loop),
      watch_(loop, DefaultsFile::ofSuite(bundleIdentifier).value(), [this] { checkForChanges(); }),
      standard_(open(DefaultsFile::ofSuite(bundleIdentifier).value())) {}

std::unique_ptr<UserDefaults> LinuxUserDefaultsCenter::defaultsWithSuiteName(
    std::string_view suite) {
  auto file = DefaultsFile::ofSuite(suite);
  if (!file) return nullptr;
  return std::make_unique<LinuxUserDefaults>(open(std::move(*file)));
}

std::shared_ptr<DefaultsStore> LinuxUserDefaultsCenter::open(DefaultsFile file) {
  auto store = std::make_shared<DefaultsStore>(std::move(file), loop_.log());
  if (store->isBehind()) checkAgain();
  const MutexLock lock(mutex_);
  std::erase_if(stores_, [](const auto& weak) { return weak.expired(); });
  stores_.push_back(store);
  return store;
}

// The observers may open and let go stores, so they are called without the lock.
void LinuxUserDefaultsCenter::checkForChanges() {
  std::vector<std::weak_ptr<DefaultsStore>> stores;
  {
    const MutexLock lock(mutex_);
    stores = stores_;
  }
  bool isBehind = false;
  for (const auto& weak : stores) {
    const auto store = weak.lock();
    if (!store) continue;
    store->checkForChanges();
    isBehind |= store->isBehind();
  }
  if (isBehind) checkAgain();
}

void LinuxUserDefaultsCenter::checkAgain() {
  loop_.queue()->post([this, alive = std::weak_ptr<bool>(alive_)] {
    if (alive.expired()) return;
    again_ = loop_.callAfter(kAgain, [this] { checkForChanges(); });
  });
}

}  // namespace kelpie
