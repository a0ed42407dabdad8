#pragma once

#include <optional>
#include <string>
#include <utility>

namespace kelpie {

// Why something could not be done, for people.
struct Problem {
  std::string text;
};

// What a function has made, or why it could not. For functions that make nothing the problem alone
// is enough: std::optional<std::string>, absent when all went well.
template <class Value>
class [[nodiscard]] Result {
 public:
  // Implicit, so that a function returns the one or the other as it is.
  Result(Value value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
  Result(Problem problem)                            // NOLINT(google-explicit-constructor)
      : problem_(std::move(problem.text)) {}

  explicit operator bool() const { return value_.has_value(); }
  // The value, which must be present.
  Value& operator*() & { return *value_; }
  const Value& operator*() const& { return *value_; }
  Value&& operator*() && { return *std::move(value_); }
  Value* operator->() { return &*value_; }
  const Value* operator->() const { return &*value_; }

  // Empty where there is a value.
  const std::string& problem() const { return problem_; }

 private:
  std::optional<Value> value_;
  std::string problem_;
};

}  // namespace kelpie
