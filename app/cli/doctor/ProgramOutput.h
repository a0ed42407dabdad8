#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kelpie::cli {

// What other programs print. Any thread.
class ProgramOutput {
 public:
  ProgramOutput() = delete;

  // Where a program of that name is: beside this program, else on PATH. Absent when it is nowhere.
  static std::optional<std::string> find(const std::string& name);
  // Runs a program with its arguments and returns the first line of its standard output, at most
  // 64 KiB; blocks meanwhile. Absent when it cannot be started, fails, or has not ended within
  // `limit`; it is killed then.
  static std::optional<std::string> firstLine(const std::vector<std::string>& call,
                                              std::chrono::milliseconds limit);
};

}  // namespace kelpie::cli
