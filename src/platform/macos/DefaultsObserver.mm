#include "platform/macos/DefaultsObserver.h"

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>

#include "foundation/Mutex.h"
#include "platform/macos/Guard.h"
#include "platform/macos/MacSerialQueues.h"

namespace kelpie {
namespace {

using Handler = std::shared_ptr<const std::function<void()>>;

// Handlers by their contexts. Any thread.
class Handlers {
 public:
  static Handlers& shared() {
    static Handlers* const handlers = std::make_unique<Handlers>().release();
    return *handlers;
  }

  void* add(std::function<void()> handler) {
    auto kept = std::make_shared<const std::function<void()>>(std::move(handler));
    const MutexLock lock(mutex_);
    void* const context = reinterpret_cast<void*>(++last_);
    handlers_.emplace(context, std::move(kept));
    return context;
  }

  // Null when it was removed.
  Handler find(void* context) {
    const MutexLock lock(mutex_);
    const auto found = handlers_.find(context);
    return found == handlers_.end() ? nullptr : found->second;
  }

  // What the handler holds goes after the lock.
  void remove(void* context) {
    Handler former;
    const MutexLock lock(mutex_);
    const auto found = handlers_.find(context);
    if (found == handlers_.end()) return;
    former = std::move(found->second);
    handlers_.erase(found);
  }

 private:
  Mutex mutex_;
  std::uintptr_t last_ KELPIE_GUARDED_BY(mutex_) = 0;
  std::unordered_map<void*, Handler> handlers_ KELPIE_GUARDED_BY(mutex_);
};

void callHandler(void* context) {
  if (const Handler handler = Handlers::shared().find(context)) runGuarded(*handler);
}

}  // namespace
}  // namespace kelpie

@implementation KPDefaultsObserver

+ (KPDefaultsObserver*)sharedObserver {
  static KPDefaultsObserver* const observer = [[KPDefaultsObserver alloc] init];
  return observer;
}

+ (void*)contextForHandler:(std::function<void()>)handler {
  return kelpie::Handlers::shared().add(std::move(handler));
}

+ (void)forgetContext:(void*)context {
  kelpie::Handlers::shared().remove(context);
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary*)change
                       context:(void*)context {
  if (![NSThread isMainThread]) {
    kelpie::MacSerialQueues().mainQueue()->post([context] { kelpie::callHandler(context); });
    return;
  }
  @autoreleasepool {
    kelpie::callHandler(context);
  }
}

@end
