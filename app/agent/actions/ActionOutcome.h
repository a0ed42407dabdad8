#pragma once

#include <string>
#include <utility>
#include <vector>

#include "agent/git/Subprocess.h"
#include "agent/git/WorkingCopy.h"

namespace kelpie::agent {

// How an action ended. A value.
struct ActionOutcome {
  enum class End {
    Done,
    Cancelled,  // by the user
    Failed,
  };

  End end = End::Done;
  // What went wrong, in git's words where git said it. For people; empty unless the action failed.
  std::string message;
  // Programs with a window to start and to leave to the user.
  std::vector<ProgramCall> windows;
  // The working copies where it put aside what it destroyed; the action "undoDiscard:" brings it
  // back.
  struct Kept {
    WorkingCopy workingCopy;
    std::string record;  // its name, see KeptChanges
  };
  std::vector<Kept> kept;

  static ActionOutcome done() { return {}; }
  static ActionOutcome cancelled() { return {End::Cancelled, {}, {}, {}}; }
  static ActionOutcome failed(std::string why) { return {End::Failed, std::move(why), {}, {}}; }
  // Failed before it began.
  static ActionOutcome noStatus() {
    return failed("The status could not be read. Nothing was done.");
  }
  static ActionOutcome opens(std::vector<ProgramCall> windows) {
    return {End::Done, {}, std::move(windows), {}};
  }
  // Done, or failed with the program's own words.
  static ActionOutcome of(const ProgramResult& result) {
    return result.succeeded() ? done() : failed(result.failure());
  }

  bool isDone() const { return end == End::Done; }
};

}  // namespace kelpie::agent
