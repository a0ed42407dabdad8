#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace kelpie::agent {

// Tells the user something without being asked. Main thread; nothing here waits.
class Notifier {
 public:
  // Names a notification that can be taken back.
  using Key = std::uint64_t;
  // What the user can do about it.
  struct Button {
    std::string label;
    std::function<void()> pressed;  // main thread; called once at most
  };

  virtual ~Notifier() = default;
  // `title` is one short line, `text` may be several; any bytes.
  virtual void notify(const std::string& title, const std::string& text) = 0;
  // The same with a button, where the desktop has buttons.
  virtual Key offer(const std::string& title, const std::string& text, Button button) = 0;
  // Takes a notification back; its button is never called again. Does nothing for one that is gone.
  virtual void withdraw(Key key) = 0;
};

}  // namespace kelpie::agent
