#pragma once

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Dictionary.h"
#include "foundation/Mutex.h"
#include "platform/Log.h"
#include "platform/linux/DefaultsFile.h"

namespace kelpie {

// The settings of one suite: what its file holds, the registered values, and who wants to know of
// changes. Every read looks whether another file has taken the place of the one that was read. A
// file that cannot be read leaves the former values in force and is logged once; where that may
// pass, the next read tries again. Any thread; reads block as one look at a file does.
class DefaultsStore {
 public:
  // `log` outlives this.
  DefaultsStore(DefaultsFile file, Log& log);
  DefaultsStore(const DefaultsStore&) = delete;
  DefaultsStore& operator=(const DefaultsStore&) = delete;

  // The stored value, else the registered one, else nil.
  Object value(std::string_view key);
  // Every stored and registered key with its value.
  Dictionary all();
  // Stores the value, nil removes it; then does as checkForChanges(). Nothing is written when the
  // stored value is that one already. A failure is logged as one line.
  void setValue(std::string_view key, const Object& value);
  void registerValues(const Dictionary& values);

  struct Observer {
    std::string key;
    std::function<void()> onChange;
  };
  std::shared_ptr<const Observer> addObserver(std::string_view key, std::function<void()> onChange);
  void removeObserver(const std::shared_ptr<const Observer>& observer);

  // Calls the observers of the keys whose values are others than when this was last done, on the
  // calling thread. So one who comes after a change, but before that was told, is told as well.
  void checkForChanges();

  // Whether the file could not be read for a reason that may pass: the values are those of before.
  bool isBehind();

 private:
  using Values = std::shared_ptr<const Dictionary>;

  void refresh() KELPIE_REQUIRES(mutex_);
  Object valueIn(const Values& stored, std::string_view key) const KELPIE_REQUIRES(mutex_);

  const DefaultsFile file_;
  Log& log_;
  Mutex mutex_;  // nobody is called while it is held
  // The last one; its values are moved to values_.
  std::optional<DefaultsFile::Reading> reading_ KELPIE_GUARDED_BY(mutex_);
  Values values_ KELPIE_GUARDED_BY(mutex_);  // of the last file that could be read
  Values told_ KELPIE_GUARDED_BY(mutex_);    // those that the observers know
  Dictionary registered_ KELPIE_GUARDED_BY(mutex_);
  std::list<std::shared_ptr<const Observer>> observers_ KELPIE_GUARDED_BY(mutex_);
};

}  // namespace kelpie
