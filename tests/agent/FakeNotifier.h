#pragma once

#include <string>
#include <vector>

#include "agent/desktop/Notifier.h"

namespace kelpie::agent {

// Keeps what the user would be told.
class FakeNotifier final : public Notifier {
 public:
  struct Notification {
    std::string title;
    std::string text;
  };

  void notify(const std::string& title, const std::string& text) override {
    shown.push_back({title, text});
  }

  std::vector<Notification> shown;
};

}  // namespace kelpie::agent
