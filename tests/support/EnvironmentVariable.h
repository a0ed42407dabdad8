#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace kelpie {

// Sets a variable of this process's environment for its own life. To be made while no other thread
// reads the environment.
class EnvironmentVariable {
 public:
  // Null takes the variable away.
  EnvironmentVariable(const char* name, const char* value) : name_(name) {
    if (const char* former = std::getenv(name)) former_ = former;
    set(value);
  }
  ~EnvironmentVariable() { set(former_ ? former_->c_str() : nullptr); }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  void set(const char* value) const {
    if (value == nullptr)
      ::unsetenv(name_);
    else
      ::setenv(name_, value, 1);
  }

  const char* name_;
  std::optional<std::string> former_;
};

}  // namespace kelpie
