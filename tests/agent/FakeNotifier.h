#pragma once

#include <string>
#include <utility>
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
  Key offer(const std::string& title, const std::string& text, Button button) override {
    offered.push_back({++lastKey_, title, text, std::move(button)});
    return lastKey_;
  }
  // The user presses the button of the last offer, which is gone then.
  void press() {
    const Button button = std::move(offered.back().button);
    offered.pop_back();
    button.pressed();
  }
  void withdraw(Key key) override {
    std::erase_if(offered, [key](const Offer& offer) { return offer.key == key; });
  }

  std::vector<Notification> shown;
  // Those with a button that were not withdrawn.
  struct Offer {
    Key key;
    std::string title;
    std::string text;
    Button button;
  };
  std::vector<Offer> offered;

 private:
  Key lastKey_ = 0;
};

}  // namespace kelpie::agent
