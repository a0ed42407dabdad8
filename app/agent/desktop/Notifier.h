#pragma once

#include <string>

namespace kelpie::agent {

// Tells the user something that nobody asked for.
class Notifier {
 public:
  virtual ~Notifier() = default;
  // Main thread; does not wait. `title` is one short line, `text` may be several; any bytes.
  virtual void notify(const std::string& title, const std::string& text) = 0;
};

}  // namespace kelpie::agent
