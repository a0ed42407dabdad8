#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kelpie::agent {

// Asks the user through zenity or kdialog, whichever is found on PATH. Each question blocks until
// it is answered, so none is asked on the main thread. Texts may hold any bytes; misleading
// characters are shown as by printableLines(), so that only a line end in a name, which goes
// through printableText() before, could still forge a question. Any thread.
class Dialogs {
 public:
  enum class End {
    Answered,
    Cancelled,
    Unavailable,  // no such program, or no display to show it on
  };
  struct Answer {
    End end = End::Unavailable;
    // The text that was typed or picked.
    std::string text;
    std::size_t choice = 0;

    bool given() const { return end == End::Answered; }
  };

  // Whether the user agrees to something that cannot be undone. `button` names what is done.
  static Answer confirm(const std::string& question, const std::string& button);
  // A line of text, without blanks around it; an empty one counts as cancelled.
  static Answer ask(const std::string& prompt, const std::string& initial);
  // A line of text that must not be seen, as it was typed; an empty one is an answer.
  static Answer askSecret(const std::string& prompt);
  // One of the choices, at least one; the first is the one that is offered.
  static Answer choose(const std::string& prompt, const std::vector<std::string>& choices);
  // The absolute path of a file to read, or of one to write; a file that is there already is
  // confirmed by the user. `initial` is an absolute path.
  static Answer openFile(const std::string& title, const std::string& initial);
  static Answer saveFile(const std::string& title, const std::string& initial);
  // Tells something and waits until it is read.
  static Answer tell(const std::string& text);

  // Whether there is a display for windows.
  static bool hasDisplay();
};

}  // namespace kelpie::agent
