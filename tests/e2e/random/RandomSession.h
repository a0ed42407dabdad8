#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "e2e/GitSession.h"
#include "e2e/random/BadgeWatch.h"
#include "e2e/random/Playground.h"
#include "e2e/random/ProgramChanges.h"

namespace kelpie {

// A user's session with working copies that are changed at random beside a patient file manager,
// while the programs are disturbed: step by step, each of them held to git. What goes wrong fails
// the test. All choices follow from the seed. One thread.
class RandomSession {
 public:
  // Two working copies in the folder "code" of the home folder, and `guests`, names of further ones
  // there, which come and go by what others do. `mortal` says which programs are ended, `percent`
  // of how many steps something happens to the programs.
  explicit RandomSession(std::uint64_t seed, Programs::Mortal mortal = Programs::Mortal::Both,
                         unsigned percent = Programs::kPercent,
                         const std::vector<std::string>& guests = {});
  RandomSession(const RandomSession&) = delete;
  RandomSession& operator=(const RandomSession&) = delete;

  // Starts the programs and the file manager. False when not all badges become right.
  bool start();

  // -- Steps --------------------------------------------------------------------------------------

  // Changes something at random, or several things at once, while the programs may be disturbed;
  // also what `more` changes, which says what that was. False when a program does not come back.
  bool change(const std::function<std::string()>& more = {});
  // Waits until every badge is right after that. False when one is wrong and stays so.
  bool settle();
  // Both, where nothing is done in between.
  bool step() { return change() && settle(); }
  // Waits until every badge is what git says, and stays so, after a step in which only `what` has
  // happened.
  bool settleAfter(const std::string& what);
  // The file manager goes, and comes back.
  bool reconnect() { return watch_->connect(steps_); }

  // -- What has been ------------------------------------------------------------------------------

  int steps() const { return steps_; }
  // How often each kind of change was made, by name.
  const std::map<std::string, int>& applied() const { return applied_; }
  std::size_t changes() const { return changes_; }
  // Whether file managers were cut off by the last change().
  bool hasCutOff() const { return hasCutOff_; }
  const BadgeWatch& watch() const { return *watch_; }
  // The last steps, what is known of items whose badges stayed wrong, and the last of what the
  // programs have written. Where badges are wrong, waits until the agent has proved its status.
  std::string account();

  GitSession& session() { return session_; }
  Programs& programs() { return programs_; }
  const std::string& code() const { return code_; }  // absolute
  Playground& chooser() { return places_.front(); }
  // The first two are always there.
  std::vector<Playground>& places() { return places_; }

 private:
  const ChangeKind& aKind();
  Playground& aPlace();
  std::string changeOne();
  void keepSmall(Playground& place);
  std::string whatIsKnown();

  Playground::Random random_;
  GitSession session_;
  std::string code_;
  std::vector<Playground> places_;
  std::vector<ChangeKind> kinds_;
  Programs programs_;
  std::optional<BadgeWatch> watch_;
  int steps_ = 0;
  std::string what_;  // happened in the last step
  bool hasCutOff_ = false;
  std::vector<std::string> history_;
  std::map<std::string, int> applied_;
  std::size_t changes_ = 0;
};

}  // namespace kelpie
