#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string_view>

#include "platform/UserDefaults.h"

namespace kelpie {

// A store of settings, empty at first, and another process that changes it. Main thread.
class UserDefaultsWorld {
 public:
  virtual ~UserDefaultsWorld() = default;
  virtual UserDefaults& defaults() = 0;
  // As another process does. Nil removes the value.
  virtual void changeFromOutside(std::string_view key, const Object& value) = 0;
  // Lets changes be delivered until the condition holds; false when it does not.
  virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class UserDefaultsContract
    : public testing::TestWithParam<std::unique_ptr<UserDefaultsWorld> (*)()> {
 protected:
  // Lets what happened before this be told: a change of another key comes after it.
  void settle() {
    bool seen = false;
    const auto witness = defaults.observe("witness", [&seen] { seen = true; });
    world->changeFromOutside("witness", Object(++settled_));
    ASSERT_TRUE(world->runUntil([&seen] { return seen; }));
  }

  const std::unique_ptr<UserDefaultsWorld> world = GetParam()();
  UserDefaults& defaults = world->defaults();

 private:
  int settled_ = 0;
};

}  // namespace kelpie
