#include "platform/macos/MacNotificationCenter.h"

#include <utility>

#include "platform/macos/NotificationObserver.h"
#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"
#include "platform/macos/SystemLog.h"

namespace kelpie {
namespace {

class CenterObservation final : public NotificationObservation {
 public:
  CenterObservation(NSString* name, std::function<void(const std::string& object)> handler)
      : observer_(Retained<KPNotificationObserver*>::adopt(
            [[KPNotificationObserver alloc] initWithHandler:std::move(handler)])) {
    [[NSDistributedNotificationCenter defaultCenter]
               addObserver:observer_.get()
                  selector:@selector(receiveNotification:)
                      name:name
                    object:nil
        suspensionBehavior:NSNotificationSuspensionBehaviorDeliverImmediately];
  }
  ~CenterObservation() override {
    [[NSDistributedNotificationCenter defaultCenter] removeObserver:observer_.get()];
  }
  CenterObservation(const CenterObservation&) = delete;
  CenterObservation& operator=(const CenterObservation&) = delete;

 private:
  const Retained<KPNotificationObserver*> observer_;
};

}  // namespace

std::unique_ptr<NotificationObservation> MacNotificationCenter::addObserver(
    std::string_view name, std::function<void(const std::string& object)> handler) {
  return std::make_unique<CenterObservation>(nsString(name), std::move(handler));
}

void MacNotificationCenter::post(std::string_view name, std::string_view object) {
  @autoreleasepool {
    NSString* const title = nsString(name);
    NSString* const content = nsString(object);
    if (title == nil || content == nil) {
      writeSystemLog("a notification that is no UTF-8 was not posted");
      return;
    }
    [[NSDistributedNotificationCenter defaultCenter] postNotificationName:title
                                                                   object:content
                                                                 userInfo:nil
                                                       deliverImmediately:YES];
  }
}

}  // namespace kelpie
