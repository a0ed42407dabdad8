#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/FakeNotifier.h"
#include "agent/actions/ActionRunner.h"
#include "agent/git/GitSandbox.h"
#include "support/EventLog.h"
#include "support/FakeLog.h"
#include "support/ManualQueues.h"

namespace kelpie::agent {

// Carries out actions in a real repository "r" with one commit on "main", which has the files "a"
// and "sub/b". Dialogs are answered by a script in the place of zenity; "bin" is first on PATH.
class ActionFixture : public testing::Test {
 protected:
  ActionFixture();
  void SetUp() override;

  // The next dialogs get these answers, a line each: "yes", "no", or a text; those after them "no".
  void answer(const std::vector<std::string>& answers) const;
  // While the next dialog is open, the shell runs this in "r".
  void meanwhile(std::string_view script) const;
  // What the dialogs showed, an argument a line.
  std::string asked() const { return sandbox.read("asked"); }
  // Makes the runner anew, with the user's own commands of this text of [Tools].
  void useTools(std::string_view tools);
  // From now on there is nothing to ask with.
  void removeDialogs();
  // A program on PATH that writes its folder and its arguments, a line each, to the file `name`.
  void addProgram(std::string_view name, std::string_view more = "") const;

  // A request of the title, the tag and the paths (relative to "r", absolute ones as they are).
  static ActionRequest request(std::string_view action, std::string_view title = "",
                               std::int64_t tag = 0);
  ActionRequest filesRequest(std::string_view action, const std::vector<std::string>& paths,
                             std::int64_t tag = 0) const;
  // With the repository's status and references of now.
  ActionContext context(std::string_view folder = "r");

  // Carries the action out to its end, windows included.
  ActionOutcome run(const ActionRequest& request, const ActionContext& context);
  ActionOutcome run(const ActionRequest& request) { return run(request, context()); }
  // Of a reference that is picked in a menu, by its full name.
  ActionOutcome runOn(std::string_view action, std::string_view fullName,
                      const std::vector<std::string>& paths = {});
  ActionOutcome runFiles(std::string_view action, const std::vector<std::string>& paths,
                         std::int64_t tag = 0) {
    return run(filesRequest(action, paths, tag));
  }

  // `git status --porcelain` of the repository.
  std::string status(std::string_view folder = "r") const;
  // Makes a conflict of "a" in the repository, merging "other": "ours" against "theirs".
  void makeConflict() const;
  // A repository "far" that "r" knows as the remote "origin", with its branches fetched.
  void addRemote() const;

  GitSandbox sandbox;
  EventLog events;
  ManualQueues queues{events};
  FakeLog log{events};
  FakeNotifier notifier;
  ActionJob::Means means;
  bool hasQuit = false;
  std::optional<ActionOutcome> last;
  std::unique_ptr<ActionRunner> runner;
};

// Expects the outcome to be done.
void expectDone(const ActionOutcome& outcome);
void expectCancelled(const ActionOutcome& outcome);
// Expects a failure whose message holds the words.
void expectFailed(const ActionOutcome& outcome, std::string_view words);

}  // namespace kelpie::agent
