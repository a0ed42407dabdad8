#include "platform/macos/MacUserDefaults.h"

#include <string>

#include "platform/macos/DefaultsObserver.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "platform/macos/SystemLog.h"

namespace kelpie {
namespace {

// Observes from its making to its end.
class SuiteObservation final : public DefaultsObservation {
 public:
  SuiteObservation(Retained<NSUserDefaults*> defaults, Retained<NSString*> key,
                   std::function<void()> onChange)
      : defaults_(std::move(defaults)),
        key_(std::move(key)),
        context_([KPDefaultsObserver contextForHandler:std::move(onChange)]) {
    [defaults_.get() addObserver:[KPDefaultsObserver sharedObserver]
                      forKeyPath:key_.get()
                         options:NSKeyValueObservingOptionNew
                         context:context_];
  }
  ~SuiteObservation() override {
    [defaults_.get() removeObserver:[KPDefaultsObserver sharedObserver]
                         forKeyPath:key_.get()
                            context:context_];
    [KPDefaultsObserver forgetContext:context_];
  }
  SuiteObservation(const SuiteObservation&) = delete;
  SuiteObservation& operator=(const SuiteObservation&) = delete;

 private:
  const Retained<NSUserDefaults*> defaults_;
  const Retained<NSString*> key_;
  void* const context_;
};

}  // namespace

Object MacUserDefaults::objectForKey(std::string_view key) const {
  @autoreleasepool {
    NSString* const name = nsString(key);
    return name == nil ? Object() : objectOf([defaults_.get() objectForKey:name]);
  }
}

void MacUserDefaults::setObject(std::string_view key, const Object& value) {
  @autoreleasepool {
    NSString* const name = nsString(key);
    id object = nsObject(value);
    @try {
      if (name != nil && object != nil) {
        [defaults_.get() setObject:object forKey:name];
        return;
      }
    } @catch (NSException* exception) {
      NSLog(@"setting %@: %@", name, [exception reason]);
      return;
    }
    writeSystemLog("no setting can hold the value for " + std::string(key));
  }
}

void MacUserDefaults::removeObject(std::string_view key) {
  @autoreleasepool {
    NSString* const name = nsString(key);
    if (name != nil) [defaults_.get() removeObjectForKey:name];
  }
}

void MacUserDefaults::registerDefaults(const Dictionary& defaults) {
  @autoreleasepool {
    id object = nsObject(defaults);
    if (object != nil) [defaults_.get() registerDefaults:object];
  }
}

Dictionary MacUserDefaults::dictionaryRepresentation() const {
  @autoreleasepool {
    return objectOf([defaults_.get() dictionaryRepresentation]).dictionary();
  }
}

std::unique_ptr<DefaultsObservation> MacUserDefaults::observe(std::string_view key,
                                                              std::function<void()> onChange) {
  return std::make_unique<SuiteObservation>(defaults_, Retained<NSString*>::keep(nsString(key)),
                                            std::move(onChange));
}

std::unique_ptr<UserDefaults> MacUserDefaultsCenter::defaultsWithSuiteName(std::string_view suite) {
  auto defaults =
      Retained<NSUserDefaults*>::adopt([[NSUserDefaults alloc] initWithSuiteName:nsString(suite)]);
  if (defaults.get() == nil) return nullptr;
  return std::make_unique<MacUserDefaults>(std::move(defaults));
}

}  // namespace kelpie
