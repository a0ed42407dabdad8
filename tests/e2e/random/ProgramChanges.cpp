#include "e2e/random/ProgramChanges.h"

#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <iterator>
#include <vector>

namespace kelpie {

// A signal before the changes; one that ends a program has it started again after them.
struct Programs::Disturbance::Kind {
  const char* name;
  int toAgent;
  int toSync;
};

const Programs::Disturbance::Kind Programs::Disturbance::kKinds[] = {
    {"the agent is killed", SIGKILL, 0},
    {"the agent is asked to end", SIGTERM, 0},
    {"the extension is killed", 0, SIGKILL},
    {"both are killed", SIGKILL, SIGKILL},
    {"the agent stands still", SIGSTOP, 0},
    {"the extension stands still", 0, SIGSTOP},
    {"the agent is killed while the extension stands still", SIGKILL, SIGSTOP},
};

namespace {

bool ends(int signal) { return signal == SIGKILL || signal == SIGTERM; }

std::string endOf(const std::string& text) {
  constexpr std::size_t kShown = 4000;
  return text.size() > kShown ? text.substr(text.size() - kShown) : text;
}

}  // namespace

void Programs::start() {
  agent_ = session_.startAgent();
  sync_ = session_.startSync();
}

void Programs::drain() {
  agent_->errors();
  sync_->errors();
}

std::string Programs::logs() {
  return (agent_ ? "agent:\n" + endOf(agent_->errors()) : "") +
         (sync_ ? "sync:\n" + endOf(sync_->errors()) : "");
}

bool Programs::Disturbance::mayHappen(const Kind& kind, Mortal mortal) {
  return (!ends(kind.toAgent) || mortal == Mortal::Agent || mortal == Mortal::Both) &&
         (!ends(kind.toSync) || mortal == Mortal::Extension || mortal == Mortal::Both);
}

Programs::Disturbance::Disturbance(Programs& programs, Playground& chooser) : programs_(programs) {
  if (!chooser.chance(programs.percent_)) return;
  std::vector<const Kind*> kinds;
  for (const Kind& kind : kKinds)
    if (mayHappen(kind, programs.mortal_)) kinds.push_back(&kind);
  kind_ = chooser.oneOf(kinds);
  if (kind_->toSync != 0) programs_.sync_->signal(kind_->toSync);
  if (kind_->toAgent != 0) programs_.agent_->signal(kind_->toAgent);
}

std::string Programs::Disturbance::name() const { return kind_ == nullptr ? "" : kind_->name; }

bool Programs::Disturbance::hasCutOff() const { return kind_ != nullptr && ends(kind_->toSync); }

bool Programs::Disturbance::end() {
  if (kind_ == nullptr) return true;
  GitSession& session = programs_.session_;
  if (kind_->toAgent == SIGSTOP) programs_.agent_->signal(SIGCONT);
  if (ends(kind_->toAgent)) {
    ++programs_.ended_;
    if (!programs_.agent_->waitForEnd()) return false;
    programs_.agent_ = session.startAgent();
  }
  if (kind_->toSync == SIGSTOP) programs_.sync_->signal(SIGCONT);
  if (ends(kind_->toSync)) {
    ++programs_.ended_;
    if (!programs_.sync_->waitForEnd()) return false;
    programs_.sync_ = session.startSync();
  }
  return programs_.agent_->isRunning() && programs_.sync_->isRunning();
}

}  // namespace kelpie
