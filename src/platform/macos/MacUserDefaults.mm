#include "platform/macos/MacUserDefaults.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "foundation/Mutex.h"
#include "platform/macos/DefaultsObserver.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "platform/macos/SystemLog.h"

namespace kelpie {
namespace {

Object valueOf(const Retained<NSUserDefaults*>& defaults, const Retained<NSString*>& key) {
  @autoreleasepool {
    return objectOf([defaults.get() objectForKey:key.get()]);
  }
}

// The value that an observer knows. The platform tells of whatever is set, the value that is there
// already included. Any thread.
class KnownValue {
 public:
  // The value at the beginning, unless a change has been told before.
  void begin(Object value) {
    const MutexLock lock(mutex_);
    if (!value_) value_ = std::move(value);
  }
  // Whether the value is another one than the known one, which it replaces.
  bool replace(Object value) {
    const MutexLock lock(mutex_);
    const bool isSame = value_ && (value.isNil() ? value_->isNil() : value.isEqual(*value_));
    value_ = std::move(value);
    return !isSame;
  }

 private:
  Mutex mutex_;
  std::optional<Object> value_ KELPIE_GUARDED_BY(mutex_);
};

// Observes from its making to its end.
class SuiteObservation final : public DefaultsObservation {
 public:
  SuiteObservation(Retained<NSUserDefaults*> defaults, Retained<NSString*> key,
                   std::function<void()> onChange)
      : defaults_(std::move(defaults)), key_(std::move(key)) {
    const auto known = std::make_shared<KnownValue>();
    context_ = [KPDefaultsObserver contextForHandler:tellingOfChanges(known, std::move(onChange))];
    [defaults_.get() addObserver:[KPDefaultsObserver sharedObserver]
                      forKeyPath:key_.get()
                         options:NSKeyValueObservingOptionNew
                         context:context_];
    // Read now, so that a change until now is known, and a later one comes after it.
    known->begin(valueOf(defaults_, key_));
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
  std::function<void()> tellingOfChanges(std::shared_ptr<KnownValue> known,
                                         std::function<void()> onChange) const {
    return [defaults = defaults_, key = key_, known = std::move(known),
            onChange = std::move(onChange)] {
      // Until the value is the known one: two threads that are told of a change each may replace it
      // in another order than they have read it.
      bool isOther = false;
      while (known->replace(valueOf(defaults, key))) isOther = true;
      if (isOther) onChange();
    };
  }

  const Retained<NSUserDefaults*> defaults_;
  const Retained<NSString*> key_;
  void* context_ = nullptr;
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
