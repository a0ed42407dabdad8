#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::cli {

// What `kelpie doctor` found. Texts are bytes, not yet printable.
class DoctorReport {
 public:
  enum class Level : std::uint8_t {
    Good,
    Warning,  // works, but less than it could
    Problem,
  };
  struct Finding {
    Level level;
    std::string_view topic;  // what was looked at; ASCII
    std::string text;
    std::string advice;  // what to do about it; "" when there is nothing to do
  };

  void good(std::string_view topic, std::string text);
  void warning(std::string_view topic, std::string text, std::string advice);
  void problem(std::string_view topic, std::string text, std::string advice);

  const std::vector<Finding>& findings() const { return findings_; }
  bool hasProblem() const;

 private:
  std::vector<Finding> findings_;
};

}  // namespace kelpie::cli
