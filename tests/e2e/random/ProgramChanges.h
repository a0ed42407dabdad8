#pragma once

#include <memory>
#include <string>

#include "e2e/GitSession.h"
#include "e2e/random/Playground.h"

namespace kelpie {

// The agent and the extension, which are killed and stopped now and then. One thread.
class Programs {
 public:
  explicit Programs(GitSession& session) : session_(session) {}

  void start();
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

    Programs& programs_;
    const Kind* kind_ = nullptr;
  };

 private:
  GitSession& session_;
  std::unique_ptr<ChildProcess> agent_;
  std::unique_ptr<ChildProcess> sync_;
};

}  // namespace kelpie
