#include "platform/linux/DefaultsStore.h"

#include <utility>
#include <vector>

#include "linux/base/GuardedTask.h"

namespace kelpie {
namespace {

bool isSame(const Object& a, const Object& b) { return a.isNil() ? b.isNil() : a.isEqual(b); }

}  // namespace

DefaultsStore::DefaultsStore(DefaultsFile file, Log& log)
    : file_(std::move(file)), log_(log), values_(std::make_shared<Dictionary>()) {
  refresh();
  told_ = values_;
}

void DefaultsStore::refresh() {
  const bool wasBehind = reading_ && reading_->isPassing;
  if (reading_ && !wasBehind && file_.stamp() == reading_->stamp) return;
  reading_ = file_.read();
  if (reading_->problem) {
    if (wasBehind && reading_->isPassing) return;  // it has been said
    log_.write(*reading_->problem + "; the former settings stay");
    return;
  }
  values_ = std::make_shared<const Dictionary>(std::exchange(reading_->values, {}));
}

Object DefaultsStore::valueIn(const Values& stored, std::string_view key) const {
  Object found = (*stored)[key];
  return found.isNil() ? registered_[key] : found;
}

Object DefaultsStore::value(std::string_view key) {
  const MutexLock lock(mutex_);
  refresh();
  return valueIn(values_, key);
}

Dictionary DefaultsStore::all() {
  const MutexLock lock(mutex_);
  refresh();
  Dictionary all = registered_;
  for (const auto& [key, value] : values_->entries()) all.set(key, value);
  return all;
}

void DefaultsStore::setValue(std::string_view key, const Object& value) {
  const auto problem = file_.update([&](Dictionary& values) {
    if (isSame(values[key], value)) return false;
    if (value.isNil())
      values.remove(Object(key));
    else
      values.set(Object(key), value);
    return true;
  });
  if (problem) log_.write("the setting " + std::string(key) + " is not stored: " + *problem);
  checkForChanges();
}

void DefaultsStore::registerValues(const Dictionary& values) {
  const MutexLock lock(mutex_);
  for (const auto& [key, value] : values.entries()) registered_.set(key, value);
}

std::shared_ptr<const DefaultsStore::Observer> DefaultsStore::addObserver(
    std::string_view key, std::function<void()> onChange) {
  auto observer = std::make_shared<const Observer>(Observer{std::string(key), std::move(onChange)});
  const MutexLock lock(mutex_);
  observers_.push_back(observer);
  return observer;
}

void DefaultsStore::removeObserver(const std::shared_ptr<const Observer>& observer) {
  const MutexLock lock(mutex_);
  observers_.remove(observer);
}

bool DefaultsStore::isBehind() {
  const MutexLock lock(mutex_);
  return reading_ && reading_->isPassing;
}

void DefaultsStore::checkForChanges() {
  std::vector<std::shared_ptr<const Observer>> concerned;
  {
    const MutexLock lock(mutex_);
    refresh();
    const Values former = std::exchange(told_, values_);
    if (former == values_) return;
    for (const auto& observer : observers_)
      if (!isSame(valueIn(former, observer->key), valueIn(values_, observer->key)))
        concerned.push_back(observer);
  }
  for (const auto& observer : concerned) runGuarded(log_, observer->onChange);
}

}  // namespace kelpie
