#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "e2e/TestHost.h"
#include "e2e/random/Playground.h"

namespace kelpie {

// File managers that come and go at random: they connect, show folders and leave them, ask for
// badges and menus, and are closed, or vanish in the midst of a message. Several at a time. One
// thread.
class VisitingHosts {
 public:
  // Both outlive this.
  VisitingHosts(ProcessHost& processes, Playground& chooser)
      : processes_(processes), chooser_(chooser) {}

  // One of them does something with one of these folders, which are there. Says what it was.
  std::string act(const std::vector<std::string>& folders);
  // All of them go; the extension that served them may be gone.
  void leave();

  // How many have come so far, and how many of these have vanished in the midst of something.
  std::size_t come() const { return come_; }
  std::size_t vanished() const { return vanished_; }

 private:
  struct Kind;
  static const Kind kKinds[];

  void connect(const std::string& folder);
  void show(const std::string& folder);
  void hide(const std::string& folder);
  void ask(const std::string& folder);
  void wantMenu(const std::string& folder);
  void sayNonsense(const std::string& folder);
  void close(const std::string& folder);
  void vanishInAMessage(const std::string& folder);
  void vanishBeforeTheAnswer(const std::string& folder);

  TestHost& one();
  void remove();

  ProcessHost& processes_;
  Playground& chooser_;
  std::vector<std::unique_ptr<TestHost>> hosts_;
  std::size_t at_ = 0;  // the one that acts
  std::size_t come_ = 0;
  std::size_t vanished_ = 0;
};

}  // namespace kelpie
