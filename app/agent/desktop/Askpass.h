#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kelpie::agent {

// How git and ssh ask for passwords, passphrases and a server's key where there is no terminal:
// with the program that the user has set, else with kelpie-askpass, which asks in a window.
class Askpass {
 public:
  Askpass() = delete;

  // Names the action of the agent that a git belongs to, for kelpie-askpass.
  static constexpr const char* kActionVariable = "KELPIE_ACTION";

  // The variables for a git of the action with that number. What the user has set, in the
  // environment or as core.askPass, comes before them. Any thread.
  static std::vector<std::pair<std::string, std::string>> variables(std::uint64_t action);
};

}  // namespace kelpie::agent
