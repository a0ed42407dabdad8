#include "e2e/random/RandomSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>

#include "e2e/TestExtension.h"
#include "e2e/TestHost.h"
#include "foundation/Object.h"
#include "protocol/MessageKeys.h"
#include "protocol/StatusKeys.h"

namespace kelpie {
namespace {

// Of a working copy with more files than these a part is thrown away.
constexpr std::size_t kMaximumFiles = 120;
constexpr std::size_t kShownSteps = 40;  // of a run that fails
// After which the agent has held what it knows to a whole status.
constexpr std::chrono::seconds kProved{70};

}  // namespace

RandomSession::RandomSession(std::uint64_t seed, Programs::Mortal mortal, unsigned percent,
                             const std::vector<std::string>& guests)
    : random_(seed), programs_(session_, mortal, percent) {
  session_.setVariable("GIT_EDITOR", ":");
  session_.setVariable("GIT_MERGE_AUTOEDIT", "no");
  code_ = session_.home().addFolder("code");
  for (const char* name : {"first", "second"}) {
    session_.addRepository(std::string("code/").append(name), {"a.txt", "src/main.cpp"});
    places_.emplace_back(session_, code_ + "/" + name, random_);
  }
  for (const std::string& name : guests)
    places_.emplace_back(session_, code_ + "/" + name, random_);
  for (const auto& table : {fileChanges(), folderChanges(), gitChanges(), historyChanges()})
    kinds_.insert(kinds_.end(), table.begin(), table.end());
}

bool RandomSession::start() {
  session_.observe({session_.home().path()});
  programs_.start();
  std::vector<std::string> roots;
  for (const Playground& place : places_) roots.push_back(place.root());
  watch_.emplace(session_, code_, roots);
  return watch_->connect(0) && watch_->settle(0, "the start", true);
}

// -- Changes --------------------------------------------------------------------------------------

const ChangeKind& RandomSession::aKind() {
  std::size_t sum = 0;
  for (const ChangeKind& kind : kinds_) sum += kind.weight;
  std::size_t at = chooser().below(sum);
  for (const ChangeKind& kind : kinds_) {
    if (at < kind.weight) return kind;
    at -= kind.weight;
  }
  return kinds_.back();
}

Playground& RandomSession::aPlace() {
  std::vector<Playground*> there;
  for (Playground& place : places_)
    if (place.isUnderWay("HEAD")) there.push_back(&place);
  return *chooser().oneOf(there);
}

void RandomSession::keepSmall(Playground& place) {
  while (place.files().size() > kMaximumFiles)
    for (int i = 0; i < 10; ++i)
      if (const auto folder = place.aFolder(); folder && i == 0)
        place.remove(*folder);
      else if (const auto file = place.aFile())
        place.remove(*file);
}

std::string RandomSession::changeOne() {
  Playground& place = aPlace();
  keepSmall(place);
  for (;;) {
    const ChangeKind& kind = aKind();
    if (!kind.apply(place)) continue;
    ++applied_[std::string(kind.name)];
    ++changes_;
    return std::string(kind.name) + " in " +
           std::filesystem::path(place.root()).filename().string();
  }
}

// -- Steps ----------------------------------------------------------------------------------------

bool RandomSession::change(const std::function<std::string()>& more) {
  ++steps_;
  Programs::Disturbance disturbance(programs_, chooser());
  what_ = disturbance.name();
  if (!what_.empty()) ++applied_[what_];
  for (int count = chooser().chance(20) ? 4 : 1; count > 0; --count) what_ += "; " + changeOne();
  if (more) what_ += "; " + more();
  if (!disturbance.end()) {
    ADD_FAILURE() << "a program does not come back after step " << steps_ << ": " << what_;
    return false;
  }
  if (!disturbance.name().empty()) watch_->programsStarted(steps_);
  hasCutOff_ = disturbance.hasCutOff();
  if (hasCutOff_) watch_->connect(steps_);
  programs_.drain();
  history_.push_back(std::to_string(steps_) + ": " + what_);
  return true;
}

bool RandomSession::settle() { return watch_->settle(steps_, what_, chooser().chance(10)); }

bool RandomSession::settleAfter(const std::string& what) {
  ++steps_;
  history_.push_back(std::to_string(steps_) + ": " + what);
  return watch_->settle(steps_, what, true);
}

std::string RandomSession::account() {
  std::string text = "the last steps:\n";
  for (std::size_t i = history_.size() - std::min(history_.size(), kShownSteps);
       i < history_.size(); ++i)
    text += history_[i] + '\n';
  if (watch_->wrong() > 0) text += whatIsKnown();
  return text + programs_.logs();
}

// Which of the programs is wrong: what the agent tells an extension that comes now, what the
// extension tells a file manager that comes now, and whether a whole status mends it.
std::string RandomSession::whatIsKnown() {
  std::ostringstream text;
  {
    TestExtension extension(session_);
    for (const Playground& place : places_) {
      const auto isIn = [&](const std::string& path) { return path.starts_with(place.root()); };
      if (std::ranges::none_of(watch_->wrongItems(), isIn)) continue;
      text << place.root() << ": the agent knows of changes to";
      if (!extension.open(place.root(), true)) text << " nobody: it does not listen";
      const Object status = extension.waitFor("setStatusInfo:")[kMessageArgumentKey];
      for (const Object& url : status[kStatusDirtyUrlsKey].whole().elements())
        text << " \"" << (url.url() ? url.url()->path() : "") << '"';
      text << '\n';
    }
  }
  const auto tell = [&](TestHost& host, const char* when) {
    const std::vector<std::string> items(watch_->wrongItems().begin(), watch_->wrongItems().end());
    host.ask(items);
    for (int i = 0; i < 10; ++i) session_.letTimePass();
    for (const std::string& path : items)
      text << path << ": " << when << " another file manager is told \""
           << host.badge(fileURL(path)) << "\", the first was told \"" << watch_->badgeOf(path)
           << "\"\n";
  };
  TestHost now(session_);
  now.hello();
  tell(now, "now");
  const auto end = std::chrono::steady_clock::now() + kProved;
  while (std::chrono::steady_clock::now() < end) session_.letTimePass();
  TestHost then(session_);
  then.hello();
  tell(then, "after a proof");
  return text.str();
}

}  // namespace kelpie
