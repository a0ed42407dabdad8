#include "e2e/soak/VisitingHosts.h"

#include <gtest/gtest.h>

#include <iterator>
#include <nlohmann/json.hpp>

namespace kelpie {
namespace {

using nlohmann::json;

constexpr std::size_t kMostAtATime = 6;

}  // namespace

// What a file manager does.
struct VisitingHosts::Kind {
  const char* name;
  void (VisitingHosts::*act)(const std::string& folder);
};

const VisitingHosts::Kind VisitingHosts::kKinds[] = {
    {"shows a folder", &VisitingHosts::show},
    {"shows a folder", &VisitingHosts::show},
    {"leaves a folder", &VisitingHosts::hide},
    {"asks again", &VisitingHosts::ask},
    {"wants a menu", &VisitingHosts::wantMenu},
    {"says what nobody understands", &VisitingHosts::sayNonsense},
    {"is closed", &VisitingHosts::close},
    {"vanishes in the midst of a message", &VisitingHosts::vanishInAMessage},
    {"vanishes before it is answered", &VisitingHosts::vanishBeforeTheAnswer},
};

std::string VisitingHosts::act(const std::vector<std::string>& folders) {
  const std::string& folder = chooser_.oneOf(folders);
  // What they are told is taken in, so that nobody waits for that.
  for (const auto& host : hosts_) host->badge("");
  if (hosts_.empty() || (hosts_.size() < kMostAtATime && chooser_.chance(30))) {
    connect(folder);
    return "a file manager comes";
  }
  at_ = chooser_.below(hosts_.size());
  const Kind& kind = kKinds[chooser_.below(std::size(kKinds))];
  (this->*kind.act)(folder);
  return std::string("a file manager ").append(kind.name);
}

void VisitingHosts::leave() { hosts_.clear(); }

TestHost& VisitingHosts::one() { return *hosts_.at(at_); }

void VisitingHosts::remove() { hosts_.erase(hosts_.begin() + static_cast<std::ptrdiff_t>(at_)); }

// -- What they do ---------------------------------------------------------------------------------

void VisitingHosts::connect(const std::string& folder) {
  hosts_.push_back(std::make_unique<TestHost>(processes_));
  at_ = hosts_.size() - 1;
  ++come_;
  EXPECT_EQ(one().hello().value("type", ""), "welcome");
  one().show(folder);
}

void VisitingHosts::show(const std::string& folder) { one().show(folder); }

// It may never have shown it.
void VisitingHosts::hide(const std::string& folder) { one().hide(folder); }

void VisitingHosts::ask(const std::string& folder) { one().ask({folder, folder + "/a.txt"}); }

void VisitingHosts::wantMenu(const std::string& folder) { one().menu(0, {fileURL(folder)}); }

void VisitingHosts::sayNonsense(const std::string& /*folder*/) {
  one().sendText("what is this?\n");
  EXPECT_EQ(one().waitFor("error").value("type", ""), "error");
}

void VisitingHosts::close(const std::string& folder) {
  one().hide(folder);
  remove();
}

void VisitingHosts::vanishInAMessage(const std::string& folder) {
  const std::string line = json{{"type", "requestBadges"}, {"urls", {fileURL(folder)}}}.dump();
  one().sendText(line.substr(0, 1 + chooser_.below(line.size() - 1)));
  ++vanished_;
  remove();
}

void VisitingHosts::vanishBeforeTheAnswer(const std::string& folder) {
  one().show(folder);
  one().send({{"type", "menu"}, {"id", 1}, {"kind", 0}, {"selected", {fileURL(folder)}}});
  ++vanished_;
  remove();
}

}  // namespace kelpie
