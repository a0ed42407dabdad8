#include "e2e/random/RandomSession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace kelpie {
namespace {

// Of a working copy with more files than these a part is thrown away.
constexpr std::size_t kMaximumFiles = 120;
constexpr std::size_t kShownSteps = 40;  // of a run that fails

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
  return text + programs_.logs();
}

}  // namespace kelpie
