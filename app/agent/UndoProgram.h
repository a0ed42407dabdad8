#pragma once

#include <string>

namespace kelpie::agent {

// `kelpie-agent --undo`: brings back what the last action in a working copy put aside, also while
// no other copy of the program runs. Main thread; blocks until it is done.
class UndoProgram {
 public:
  UndoProgram() = delete;

  // `folder` lies in the working copy. The exit status: 0 when all is back; 1 when not, which is
  // said in one line.
  static int main(const std::string& folder);
};

}  // namespace kelpie::agent
