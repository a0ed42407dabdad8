#pragma once

#include <span>
#include <string>

namespace kelpie::askpass {

// Asks the user in a window for what git or ssh need to go on: a name, a password, a passphrase, or
// whether a server's key is the right one. They start it with the question as its argument and read
// the answer from its standard output; the answer goes nowhere else. Main thread.
class AskpassProgram {
 public:
  // The exit status: 0 with an answer, 1 without one, 2 without a question. When the user closes
  // the question, the action of the main application that it belongs to is called off.
  static int main(std::span<char* const> arguments);

  // How a question is to be answered.
  enum class Kind {
    Text,     // may be seen on the screen
    Secret,   // must not
    YesOrNo,  // in words
    Consent,  // by the exit status
    Notice,   // not at all
  };
  // `hint` is what ssh says of the question in SSH_ASKPASS_PROMPT; may be empty.
  static Kind kindOf(const std::string& question, const std::string& hint);
};

}  // namespace kelpie::askpass
