#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "e2e/GitSession.h"
#include "e2e/random/Playground.h"

namespace kelpie {

// The agent and the extension, which are killed and stopped now and then. One thread.
class Programs {
 public:
  // Which of them may be ended; the others only stand still now and then.
  enum class Mortal { Neither, Agent, Extension, Both };

  // `percent`: of how many steps something happens to them.
  explicit Programs(GitSession& session, Mortal mortal = Mortal::Both, unsigned percent = kPercent)
      : session_(session), mortal_(mortal), percent_(percent) {}
  static constexpr unsigned kPercent = 4;

  void start();
  ChildProcess& agent() { return *agent_; }
  ChildProcess& extension() { return *sync_; }
  // How many processes have been ended so far.
  std::size_t ended() const { return ended_; }
  // Takes what they have written, so that they never wait for it to be read.
  void drain();
  // The last of what they have written.
  std::string logs();

  // What happens to them, mostly nothing, while something else is changed.
  class Disturbance {
   public:
    Disturbance(Programs& programs, Playground& chooser);
    // Empty for none.
    std::string name() const;
    // Has them run again; false when they do not.
    bool end();
    // Whether file managers have to connect again.
    bool hasCutOff() const;

   private:
    struct Kind;
    static const Kind kKinds[];
    static bool mayHappen(const Kind& kind, Mortal mortal);

    Programs& programs_;
    const Kind* kind_ = nullptr;
  };

 private:
  GitSession& session_;
  const Mortal mortal_;
  const unsigned percent_;
  std::size_t ended_ = 0;
  std::unique_ptr<ChildProcess> agent_;
  std::unique_ptr<ChildProcess> sync_;
};

}  // namespace kelpie
