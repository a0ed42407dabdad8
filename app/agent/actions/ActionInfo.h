#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace kelpie::agent {

// A chosen action, as it is described while it waits, runs and ends. A value.
struct ActionInfo {
  enum class State {
    Waiting,  // for another action of the same working copy
    Running,
    Asking,  // a question of it is open
  };

  std::uint64_t id = 0;  // never 0, and never used again
  std::string action;    // the selector
  std::string label;     // what the action is called
  std::string title;     // of the menu item; empty where the message had none
  std::string folder;    // the working copy's root, or the folder that is to be one; may be empty
  std::string choice;    // the host's name for the choice; may be empty
  State state = State::Waiting;
  std::chrono::steady_clock::time_point since;  // when it was chosen
};

}  // namespace kelpie::agent
