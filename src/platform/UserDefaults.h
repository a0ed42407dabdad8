#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Dictionary.h"
#include "foundation/Object.h"

namespace kelpie {

// An observation of one key; letting it go ends it.
class DefaultsObservation {
 public:
  virtual ~DefaultsObservation() = default;
};

// A store of settings that other processes write as well. Any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  // The stored value, else the registered one, else nil.
  virtual Object objectForKey(std::string_view key) const = 0;
  // Stores, for other processes to see. A failure is logged and leaves the former value.
  virtual void setObject(std::string_view key, const Object& value) = 0;
  virtual void removeObject(std::string_view key) = 0;
  // Values for keys that have none stored. They live in memory only; later calls add to earlier.
  virtual void registerDefaults(const Dictionary& defaults) = 0;
  // Every stored and registered key with its value.
  virtual Dictionary dictionaryRepresentation() const = 0;
  // Calls `onChange` whenever the value of `key` has changed, by this process or another, on the
  // thread that delivers the change. May be called for the last time while the observation is let
  // go.
  virtual std::unique_ptr<DefaultsObservation> observe(std::string_view key,
                                                       std::function<void()> onChange) = 0;

  // Typed reads, converted as the platform does: "YES", "true" and "1" are true, the text of a
  // number is its string. A stored value of a class that cannot be converted reads as absent (or
  // NO) and does not fall back to the registered one.
  bool boolForKey(std::string_view key) const;
  std::optional<std::string> stringForKey(std::string_view key) const;
  Object arrayForKey(std::string_view key) const;       // an array, or nil
  Object dictionaryForKey(std::string_view key) const;  // a dictionary, or nil
};

// Where the stores come from. Any thread.
class UserDefaultsCenter {
 public:
  virtual ~UserDefaultsCenter() = default;
  // This extension's own settings. Lives as long as the center.
  virtual UserDefaults& standardDefaults() = 0;
  // The settings that the processes of an application group share; null when they cannot be opened.
  virtual std::unique_ptr<UserDefaults> defaultsWithSuiteName(std::string_view suite) = 0;
};

}  // namespace kelpie
