#include "e2e/soak/SoakSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <ratio>
#include <system_error>
#include <utility>

namespace kelpie {
namespace {

namespace fs = std::filesystem;

constexpr int kLooks = 25;
constexpr std::size_t kResidents = 2;  // working copies that are always there

// What may have been added when an hour has passed.
constexpr double kMoreKiB = 512;
constexpr double kMoreThreads = 2;
// The agent tells of a working copy that went, and that nobody showed a notice of an action.
constexpr double kLines = 2;
constexpr std::array<const char*, 2> kGuests = {"third", "fourth"};

std::size_t entriesBelow(const fs::path& folder, const fs::path& except = {}) {
  std::size_t count = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(folder, error), end; entry != end;
       entry.increment(error)) {
    ++count;
    if (entry->path() == except) entry.disable_recursion_pending();
  }
  return count;
}

std::size_t bytesBelow(const fs::path& folder) {
  std::size_t bytes = 0;
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(folder, error))
    if (entry.is_regular_file(error)) bytes += static_cast<std::size_t>(entry.file_size(error));
  return bytes;
}

std::size_t linesOf(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

}  // namespace

SoakSession::SoakSession(std::uint64_t seed, const Options& options)
    : options_(options),
      random_(seed, options.mortal, options.percent, {kGuests.begin(), kGuests.end()}),
      temporary_(random_.session().home().addFolder("temporary")),
      visitors_(random_.session(), random_.chooser()) {
  GitSession& session = random_.session();
  session.setVariable("TMPDIR", temporary_);
  // Of a user who agrees to everything.
  session.addUser("exit 0\n");
  for (std::size_t i = 0; i < kResidents; ++i) baselines_.emplace_back(random_.places().at(i));
}

bool SoakSession::start() { return random_.start() && rest(); }

// -- Steps ----------------------------------------------------------------------------------------

bool SoakSession::step() {
  if (!random_.change([this] { return changeSurroundings(); })) return false;
  if (random_.hasCutOff()) visitors_.leave();
  if (random_.chooser().chance(50)) visitors_.act(folders());
  return random_.settle();
}

std::string SoakSession::changeSurroundings() {
  Playground& chooser = random_.chooser();
  if (chooser.chance(10)) return changeGuests();
  if (!chooser.chance(3)) return "";
  // Each of them has all that is shown in it.
  const std::string home = random_.session().home().path();
  const std::vector<std::vector<std::string>> choices = {
      {home}, {random_.code()}, {home, temporary_}, {temporary_, random_.code()}};
  random_.session().observe(chooser.oneOf(choices));
  return "other folders are observed";
}

// There is none or one further working copy.
std::string SoakSession::changeGuests() {
  ++copies_;
  Playground& chooser = random_.chooser();
  const std::vector<Playground>& places = random_.places();
  for (std::size_t i = kResidents; i < places.size(); ++i) {
    std::error_code error;
    if (!fs::exists(places[i].root(), error)) continue;
    if (chooser.chance(50)) {
      fs::remove_all(places[i].root(), error);
      return "a working copy is removed";
    }
    const std::size_t other = i + 1 < places.size() ? i + 1 : kResidents;
    fs::rename(places[i].root(), places[other].root(), error);
    return "a working copy is moved";
  }
  random_.session().addRepository(std::string("code/") + kGuests.at(chooser.below(kGuests.size())),
                                  {"a.txt", "docs/b.txt"});
  return "a working copy is added";
}

// Those that a file manager can show.
std::vector<std::string> SoakSession::folders() {
  std::vector<std::string> folders = {random_.code()};
  for (const Playground& place : random_.places()) {
    std::error_code error;
    if (!fs::exists(place.root(), error)) continue;
    for (const std::string& folder : place.folders()) folders.push_back(place / folder);
  }
  return folders;
}

// -- Checkpoints ----------------------------------------------------------------------------------

bool SoakSession::rest() {
  visitors_.leave();
  if (!restoreAll()) return false;
  // The file manager beside the programs that are never ended stays all the time, too.
  if (options_.mortal != Programs::Mortal::Neither && !random_.reconnect()) return false;
  if (!random_.settleAfter("all is as at first") || !runErrands()) return false;
  // The last of them may still be at work.
  waitUntilAtRest();
  if (!restoreAll() || !random_.settleAfter("errands are run")) return false;
  waitUntilAtRest();
  writeDown();
  return true;
}

bool SoakSession::restoreAll() {
  const TemporaryFolder& home = random_.session().home();
  std::error_code error;
  for (const char* name : kGuests) fs::remove_all(fs::path(random_.code()) / name, error);
  // What changes have made there: rules of the user.
  for (const char* name : {".config/git", "lists"}) fs::remove_all(home / name, error);
  random_.session().observe({home.path()});
  std::string problems;
  for (const Baseline& baseline : baselines_) problems += baseline.restore();
  EXPECT_EQ(problems, "") << "a working copy is not as it was";
  return problems.empty();
}

// What a user does with one file: it is changed, staged, unstaged, and the change discarded.
bool SoakSession::runErrands() {
  const Playground& place = random_.places().front();
  const std::string file = place / "a.txt";
  TestHost host(random_.session());
  if (!host.hello().is_object()) return false;
  host.show(place.root());
  for (int i = 0; i < options_.errands; ++i) {
    place.write("a.txt", "an errand\n", true);
    for (const auto& [title, status] :
         {std::pair("Stage \"a.txt\"", "M  a.txt"), std::pair("Unstage \"a.txt\"", " M a.txt"),
          std::pair("Discard Changes in \"a.txt\"…", "")}) {
      if (!host.choose({file}, {title}) || !waitForStatus(place, status)) return false;
      ++actions_;
    }
  }
  return true;
}

bool SoakSession::waitForStatus(const Playground& place, const std::string& wanted) {
  const auto end = Clock::now() + ChildProcess::kLongEnough;
  std::string status;
  while (Clock::now() < end) {
    status = place.ask({"status", "--porcelain"});
    if (status == (wanted.empty() ? "" : wanted + "\n")) return true;
    random_.session().letTimePass();
  }
  ADD_FAILURE() << "git says \"" << status << "\", not \"" << wanted << '"';
  return false;
}

// Nothing tells of the end of what goes on inside the programs: they are at rest when they run
// nothing and hold the same for a while, and as much as at the last checkpoint. Where they never
// do, what they hold is judged as it is.
void SoakSession::waitUntilAtRest() {
  const auto end = Clock::now() + ChildProcess::kLongEnough;
  ProcessFigures agent;
  ProcessFigures extension;
  for (int same = 0; same < kLooks && Clock::now() < end; random_.session().letTimePass()) {
    const ProcessFigures agentNow = ProcessFigures::of(random_.programs().agent().pid());
    const ProcessFigures extensionNow = ProcessFigures::of(random_.programs().extension().pid());
    const bool isSame = agentNow.holdsAsManyAs(agent) && extensionNow.holdsAsManyAs(extension) &&
                        agentNow.watches == agent.watches;
    same = isSame && areAsBefore(agentNow, extensionNow) &&
                   agentNow.children + extensionNow.children == 0
               ? same + 1
               : 0;
    agent = agentNow;
    extension = extensionNow;
  }
}

bool SoakSession::areAsBefore(const ProcessFigures& agent, const ProcessFigures& extension) const {
  if (checkpoints_.empty()) return true;
  const Checkpoint& before = checkpoints_.back();
  return agent.holdsAsManyAs(before.agent) && extension.holdsAsManyAs(before.extension) &&
         (options_.mortal != Programs::Mortal::Neither || agent.watches == before.agent.watches);
}

void SoakSession::writeDown() {
  Programs& programs = random_.programs();
  const std::string home = random_.session().home().path();
  Checkpoint now;
  now.minutes = std::chrono::duration<double, std::ratio<60>>(Clock::now() - start_).count();
  now.changes = random_.changes();
  now.compared = random_.watch().compared();
  now.wrong = random_.watch().wrong();
  now.ended = programs.ended();
  now.hosts = visitors_.come();
  now.vanished = visitors_.vanished();
  now.copies = copies_;
  now.actions = actions_;
  now.agent = ProcessFigures::of(programs.agent().pid());
  now.extension = ProcessFigures::of(programs.extension().pid());
  now.agentLines = linesOf(programs.agent().errors());
  now.extensionLines = linesOf(programs.extension().errors());
  now.runtimeEntries = entriesBelow(random_.session().runtime().path());
  now.temporaryEntries = entriesBelow(temporary_);
  now.homeEntries = entriesBelow(home, random_.code());
  now.settingsBytes = bytesBelow(home + "/.config/kelpie");
  checkpoints_.push_back(now);
}

// -- What is judged -------------------------------------------------------------------------------

std::vector<SoakSeries> SoakSession::series() const {
  using Rule = SoakSeries::Rule;
  std::vector<SoakSeries> all;
  addSeries("kelpie-agent", &Checkpoint::agent, &Checkpoint::agentLines,
            options_.mortal != Programs::Mortal::Agent, all);
  addSeries("kelpie-sync", &Checkpoint::extension, &Checkpoint::extensionLines,
            options_.mortal != Programs::Mortal::Extension, all);
  struct Row {
    const char* figure;
    std::size_t Checkpoint::*value;
    Rule rule;
  };
  constexpr Row kRows[] = {
      {"wrong badges", &Checkpoint::wrong, Rule::Shown},
      {"entries of the runtime folder", &Checkpoint::runtimeEntries, Rule::Same},
      {"temporary files", &Checkpoint::temporaryEntries, Rule::AtMost},
      {"entries of the home folder", &Checkpoint::homeEntries, Rule::Same},
      {"bytes of settings", &Checkpoint::settingsBytes, Rule::Same},
  };
  for (const Row& row : kRows)
    all.push_back({"session", row.figure, row.rule, 0, figures([&](const Checkpoint& checkpoint) {
                     return static_cast<double>(checkpoint.*row.value);
                   })});
  // One that stays wrong ends the run, before the next checkpoint.
  all.push_back(
      {"session", "wrong badges at the end", Rule::AtMost, 0,
       std::vector<double>(checkpoints_.size() + 1, static_cast<double>(random_.watch().wrong()))});
  return all;
}

// What is said of a process that `lives` the whole time, or of one that is ended now and then: what
// that holds of memory says nothing.
void SoakSession::addSeries(const std::string& name, ProcessFigures Checkpoint::*process,
                            std::size_t Checkpoint::*lines, bool lives,
                            std::vector<SoakSeries>& all) const {
  using Rule = SoakSeries::Rule;
  struct Row {
    const char* figure;
    std::size_t ProcessFigures::*value;
    Rule living;
    double bound;
    Rule mortal;
  };
  // Which of them was there first decides whether the agent watches .git of each working copy
  // twice.
  const bool isWatchingTheSame = options_.mortal == Programs::Mortal::Neither;
  const Row rows[] = {
      {"resident KiB", &ProcessFigures::residentKiB, Rule::Flat, kMoreKiB, Rule::Shown},
      {"anonymous KiB", &ProcessFigures::anonymousKiB, Rule::Flat, kMoreKiB, Rule::Shown},
      {"descriptors", &ProcessFigures::descriptors, Rule::Same, 0, Rule::Same},
      {"watches", &ProcessFigures::watches, isWatchingTheSame ? Rule::Same : Rule::Flat,
       static_cast<double>(kResidents), Rule::Flat},
      {"threads", &ProcessFigures::threads, Rule::Flat, kMoreThreads, Rule::Flat},
      {"children", &ProcessFigures::children, Rule::AtMost, 0, Rule::AtMost},
      {"zombies", &ProcessFigures::zombies, Rule::AtMost, 0, Rule::AtMost},
  };
  for (const Row& row : rows)
    all.push_back({name, row.figure, lives ? row.living : row.mortal, row.bound,
                   figures([&](const Checkpoint& checkpoint) {
                     return static_cast<double>(checkpoint.*process.*row.value);
                   })});
  all.push_back(
      {name, "processor seconds", Rule::Shown, 0, figures([&](const Checkpoint& checkpoint) {
         return (checkpoint.*process).processorSeconds;
       })});
  all.push_back({name, "log lines for each occasion", lives ? Rule::AtMost : Rule::Shown, kLines,
                 figures([&](const Checkpoint& checkpoint) {
                   return static_cast<double>(checkpoint.*lines) /
                          static_cast<double>(1 + checkpoint.copies + checkpoint.actions);
                 })});
}

std::vector<double> SoakSession::figures(const std::function<double(const Checkpoint&)>& of) const {
  std::vector<double> values;
  for (const Checkpoint& checkpoint : checkpoints_) values.push_back(of(checkpoint));
  return values;
}

}  // namespace kelpie
