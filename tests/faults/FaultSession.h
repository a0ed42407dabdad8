#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "e2e/GitSession.h"
#include "faults/ReturningHost.h"
#include "linux/base/SessionBus.h"
#include "support/linux/FakeDesktop.h"

namespace kelpie {

// One call that fails.
struct Fault {
  std::string program;   // with its first argument behind a blank, if it has one
  std::string call;      // the kind, as FaultShim.cpp names it
  long at = 0;           // from 1; 0: none fails
  std::string error;     // a number, or "short"
  long times = 1;        // how many in a row
  std::string untraced;  // a kind of call that is not written to the trace
};

// A user's session with the real programs, in which everything occurs once: the programs start, a
// repository is shown, changed, staged in and discarded from, a folder is added to the settings,
// the file manager goes and comes back, and the programs end. Whatever fails, the user tries again,
// and whoever started a program starts it again when it has ended with an error. What then is not
// as it should be is a problem. One thread.
class FaultSession {
 public:
  // What has become of it.
  struct Outcome {
    std::vector<std::string> problems;               // what must not occur
    std::vector<std::string> costs;                  // what the user had to do again
    std::map<std::string, std::string> logs;         // by program: all that it wrote
    std::map<std::string, std::size_t> descriptors;  // by program: open before the end
    std::string told;                                // the notification that was shown last
    std::string report;  // the call that failed, and its callers; empty when none did
    std::chrono::milliseconds duration{0};
  };

  // `trace`: a file to which every call that could fail is written; none when it is empty.
  FaultSession(Fault fault, std::string trace);

  // Once. `usual` is what a session without a fault has given, for comparison; null for none.
  Outcome run(const Outcome* usual);

 private:
  using Clock = std::chrono::steady_clock;

  // A program that is started again.
  struct Service {
    std::string name;
    std::unique_ptr<ChildProcess> process;
    int starts = 0;
  };

  void prepare();
  void script();
  void checkEnd(const Outcome* usual);
  void checkDescriptors(const Outcome* usual);
  void checkKept();
  void checkLogs();
  void quit();

  // Does it, and does it again, as often as a user would, until it is done. `act` returns false
  // when it sees itself that it has failed.
  void step(const std::string& name, const std::function<bool()>& act,
            const std::function<bool()>& done);
  bool waitFor(const std::function<bool()>& done);
  // Lets programs that have ended be started again. True when nobody waits any longer for what
  // began then; with a call that has failed that is soon.
  bool isTooLate(Clock::time_point begin);
  bool choose(const std::string& path, const std::string& title);
  bool hasFired();

  void tend();
  void tend(Service& service);
  void start(Service& service);
  std::unique_ptr<ChildProcess> start(const std::string& program,
                                      const std::vector<std::string>& arguments);
  void ended(const std::string& name, int status, const std::string& errors);
  // A program that does one thing and ends; its status.
  int command(const std::string& program, const std::vector<std::string>& arguments);

  bool badgesAreRight(bool complain);
  bool settingsHaveBoth() const;
  std::size_t descriptorsOf(const Service& service) const;

  const Fault fault_;
  const std::string trace_;
  GitSession session_;
  std::unique_ptr<SessionBus> bus_;
  std::unique_ptr<FakeDesktop> desktop_;
  ReturningHost host_{session_.runtime().finderSocket()};
  const std::string report_ = session_.home() / "fault";
  const std::string repository_ = session_.home() / "r";
  const std::string other_ = session_.home() / "q";
  Service agent_{"kelpie-agent", nullptr};
  Service sync_{"kelpie-sync", nullptr};
  Outcome outcome_;
  std::optional<Clock::time_point> firedAt_;  // or a program was started again
  bool quitting_ = false;
  bool killed_ = false;  // a program has ended in the midst of its work
};

}  // namespace kelpie
