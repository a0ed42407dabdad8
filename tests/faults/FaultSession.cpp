#include "faults/FaultSession.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "TestPaths.h"
#include "e2e/random/GitTruth.h"
#include "settings/SettingsKeys.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr int kTries = 4;
// How long something is waited for after a call has failed, before the user tries again.
constexpr milliseconds kPatience(3000);
// The most lines that one fault may cause in one program.
constexpr std::ptrdiff_t kMostLines = 6;
constexpr int kStartsAtMost = 4;

constexpr const char* kPrecious = "as committed\nhours of work\n";
constexpr const char* kCommitted = "as committed\n";

// Kinds of calls without which the libraries that the programs stand on end them; they are started
// again.
bool mayEndByItself(const std::string& call) {
  static const std::set<std::string> kinds = {"malloc", "eventfd", "pipe", "thread"};
  return kinds.contains(call);
}

// Whether a program cannot but believe what it is told: that something is not there, or not for it.
bool isBelieved(const Fault& fault) {
  const std::string denials[] = {std::to_string(ENOENT), std::to_string(EACCES)};
  return std::ranges::find(denials, fault.error) != std::end(denials);
}

std::ptrdiff_t linesOf(const std::string& text) { return std::ranges::count(text, '\n'); }

}  // namespace

FaultSession::FaultSession(Fault fault, std::string trace)
    : fault_(std::move(fault)), trace_(std::move(trace)) {}

FaultSession::Outcome FaultSession::run(const Outcome* usual) {
  const auto begin = Clock::now();
  prepare();
  script();
  checkEnd(usual);
  quit();
  checkKept();
  outcome_.report = session_.read("fault");
  outcome_.told = desktop_->shown();
  checkLogs();
  outcome_.duration = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
  return std::move(outcome_);
}

// -- What occurs ----------------------------------------------------------------------------------

void FaultSession::prepare() {
  session_.addRepository("r", {"file.txt", "precious.txt", "sub/deep/inner.txt"});
  session_.addRepository("q", {"other.txt"});
  session_.observe({repository_});
  session_.addUser("exit 0\n");
  bus_ = SessionBus::connectTo(session_.bus().address()).bus;
  desktop_ = std::make_unique<FakeDesktop>(bus_->connection());
}

void FaultSession::script() {
  const std::string file = repository_ + "/file.txt";
  const std::string precious = repository_ + "/precious.txt";
  const auto shows = [this](const std::string& path, const std::string& badge) {
    return [this, path, badge] { return host_.badge(path) == badge; };
  };
  step(
      "show", [&] { return host_.show(repository_), true; }, shows(file, "KPCurrentBadge"));
  step(
      "change", [&] { return session_.append("r/file.txt", "changed"), true; },
      shows(file, "KPWorkdirModifiedBadge"));
  step(
      "stage", [&] { return choose(file, "Stage \"file.txt\""); },
      shows(file, "KPIndexModifiedBadge"));
  step(
      "new folder",
      [&] {
        session_.home().addFile("r/new/deep/new.txt", "new");
        host_.show(repository_);
        return true;
      },
      shows(repository_ + "/new", "KPWorkdirNewBadge"));
  step(
      "change below", [&] { return session_.append("r/sub/deep/inner.txt", "changed"), true; },
      shows(repository_ + "/sub", "KPWorkdirModifiedBadge"));
  step(
      "edit", [&] { return !session_.home().addFile("r/precious.txt", kPrecious).empty(); },
      shows(precious, "KPWorkdirModifiedBadge"));
  step(
      "discard", [&] { return choose(precious, R"(Discard Changes in "precious.txt"…)"); },
      [&] { return session_.read("r/precious.txt") == kCommitted; });
  step(
      "undo",
      [&] {
        return command("kelpie-agent", {"--undo", repository_}) == 0;
      },
      [&] { return session_.read("r/precious.txt") == kPrecious; });
  step(
      "add a folder",
      [&] {
        if (command("kelpie", {"folders", "add", other_}) != 0) return false;
        host_.show(other_);
        return true;
      },
      [&] { return settingsHaveBoth() && host_.badge(other_ + "/other.txt") == "KPCurrentBadge"; });
  host_.leave();
  step(
      "host comes back", [] { return true; }, shows(file, "KPIndexModifiedBadge"));
}

void FaultSession::step(const std::string& name, const std::function<bool()>& act,
                        const std::function<bool()>& done) {
  if (!outcome_.problems.empty()) return;  // what comes after needs what came before
  for (int i = 0; i < kTries; ++i) {
    if (i > 0) {
      outcome_.costs.push_back(name);
      host_.show(repository_);  // who misses something has the window read again
    }
    tend();
    if (act() ? waitFor(done) : done()) return;
  }
  outcome_.problems.push_back("\"" + name + "\" does not come, however often it is tried");
}

bool FaultSession::waitFor(const std::function<bool()>& done) {
  const auto begin = Clock::now();
  return host_.workUntil(done, [&] { return isTooLate(begin); });
}

bool FaultSession::choose(const std::string& path, const std::string& title) {
  const auto begin = Clock::now();
  return host_.choose({path}, {title}, [&] { return isTooLate(begin); });
}

bool FaultSession::isTooLate(Clock::time_point begin) {
  tend();
  const auto now = Clock::now();
  if (!firedAt_ && hasFired()) firedAt_ = now;
  if (!firedAt_) return now - begin > ChildProcess::kLongEnough;
  return now - std::max(begin, *firedAt_) > kPatience;
}

bool FaultSession::hasFired() { return fs::exists(report_); }

// -- The programs ---------------------------------------------------------------------------------

void FaultSession::tend() {
  tend(agent_);
  tend(sync_);
}

void FaultSession::tend(Service& service) {
  if (service.process != nullptr) {
    if (service.process->isRunning()) return;
    ended(service.name, *service.process->waitForEnd(), service.process->errors());
  }
  if (!quitting_ && service.starts < kStartsAtMost) start(service);
}

void FaultSession::start(Service& service) {
  ++service.starts;
  service.process = start(service.name, {});
}

// Only what is meant gets the library: what it starts would have it as well.
std::unique_ptr<ChildProcess> FaultSession::start(const std::string& program,
                                                  const std::vector<std::string>& arguments) {
  const bool isMeant =
      fault_.program == (arguments.empty() ? program : program + " " + arguments.front());
  if (!isMeant) return session_.start(program, arguments);
  ChildProcess::Environment variables = session_.environment();
  variables["LD_PRELOAD"] = KELPIE_BUILD_DIR "/tests/faults/libkelpie_faults.so";
  variables["KELPIE_FAULT_PROGRAM"] = fault_.program;
  variables["KELPIE_FAULT_TRACE"] = trace_;
  variables["KELPIE_FAULT_UNTRACED"] = fault_.untraced;
  variables["KELPIE_FAULT_CALL"] = fault_.call;
  variables["KELPIE_FAULT_AT"] = std::to_string(fault_.at);
  variables["KELPIE_FAULT_TIMES"] = std::to_string(fault_.times);
  variables["KELPIE_FAULT_ERROR"] = fault_.error;
  variables["KELPIE_FAULT_REPORT"] = report_;
  std::vector<std::string> words = {ProcessHost::program(program)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return std::make_unique<ChildProcess>(words, variables);
}

// What a program has left behind that ended before it was told to.
void FaultSession::ended(const std::string& name, int status, const std::string& errors) {
  killed_ = true;
  outcome_.logs[name] += errors;
  const std::string how = name + " ended with status " + std::to_string(status);
  if (!hasFired()) outcome_.problems.push_back(how + " though nothing failed");
  if (errors.empty()) outcome_.problems.push_back(how + " and said nothing");
  if (status == 0) outcome_.problems.push_back(how + ", so that nobody starts it again");
  if (status > 128 && !mayEndByItself(fault_.call)) outcome_.problems.push_back(how);
  outcome_.costs.push_back(how);
}

int FaultSession::command(const std::string& program, const std::vector<std::string>& arguments) {
  const auto process = start(program, arguments);
  process->waitForEnd();
  const std::string name = program + " " + arguments.front();
  outcome_.logs[name] += process->errors();
  const std::optional<int> status = process->waitForEnd(milliseconds(0));
  if (!status) outcome_.problems.push_back(name + " does not end");
  if (status && *status != 0 && process->errors().empty())
    outcome_.problems.push_back(name + " fails without a word");
  if (status && *status > 128 && !mayEndByItself(fault_.call))
    outcome_.problems.push_back(name + " ended with status " + std::to_string(*status));
  return status.value_or(-1);
}

void FaultSession::quit() {
  quitting_ = true;
  for (Service* service : {&agent_, &sync_}) {
    if (service->process == nullptr || !service->process->isRunning()) continue;
    service->process->signal(SIGTERM);
    if (service->process->waitForEnd() != 0)
      outcome_.problems.push_back(service->name + " does not end well when it is told to");
    outcome_.logs[service->name] += service->process->errors();
  }
}

// -- What must be so in the end -------------------------------------------------------------------

void FaultSession::checkEnd(const Outcome* usual) {
  if (!outcome_.problems.empty()) return;
  if (!waitFor([&] { return badgesAreRight(false); })) {
    outcome_.costs.push_back("badges are wrong until something changes");
    session_.append("r/file.txt", "changed again");
    session_.append("q/other.txt", "changed");
    for (const std::string& folder : {repository_, other_}) host_.show(folder);
    waitFor([&] { return badgesAreRight(false); });
    badgesAreRight(true);
  }
  checkDescriptors(usual);
}

bool FaultSession::badgesAreRight(bool complain) {
  bool right = true;
  for (const std::string& root : {repository_, other_}) {
    std::vector<std::string> command = GitTruth::command();
    command.insert(command.begin() + 1, {"-C", root});
    ChildProcess git(command, session_.environment());
    git.waitForEnd();
    const GitTruth truth(root, git.output());
    std::set<std::string> items = {root};
    for (const auto& entry : fs::directory_iterator(root)) items.insert(entry.path());
    for (const std::string& path : items) {
      const auto wanted =
          truth.badgesOf(path, [](const std::string&) { return GitTruth::Knowledge::Maybe; });
      if (wanted.contains(host_.badge(path))) continue;
      right = false;
      if (complain)
        outcome_.problems.push_back(path + " has the badge \"" + host_.badge(path) + "\", not \"" +
                                    *wanted.begin() + "\"");
    }
  }
  return right;
}

bool FaultSession::settingsHaveBoth() const {
  return session_.sharedDefaults().read().values[kFoldersPathsKey].size() == 2;
}

std::size_t FaultSession::descriptorsOf(const Service& service) const {
  std::size_t count = 0;
  std::error_code none;
  const std::string folder = "/proc/" + std::to_string(service.process->pid()) + "/fd";
  for (const auto& entry : fs::directory_iterator(folder, none)) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

void FaultSession::checkDescriptors(const Outcome* usual) {
  for (const Service* service : {&agent_, &sync_}) {
    std::size_t count = descriptorsOf(*service);
    if (usual != nullptr) {
      const std::size_t most = usual->descriptors.at(service->name);
      waitFor([&] { return (count = descriptorsOf(*service)) <= most; });
      if (count > most)
        outcome_.problems.push_back(service->name + " has " + std::to_string(count) +
                                    " descriptors open, not " + std::to_string(most));
    }
    outcome_.descriptors[service->name] = count;
  }
}

void FaultSession::checkKept() {
  if (!outcome_.problems.empty()) return;
  const auto problem = [this](const std::string& text) { outcome_.problems.push_back(text); };
  const DefaultsFile::Reading settings = session_.sharedDefaults().read();
  if (settings.problem) problem(*settings.problem);
  if (!settingsHaveBoth()) problem("the settings lack a folder");
  const std::string content = session_.read("r/precious.txt");
  if (content != kPrecious && content != kCommitted) problem("a file holds \"" + content + "\"");
  if (session_.git("r", {"diff", "--cached", "--name-only"}) != "file.txt")
    problem("what is staged is something else");
  if (killed_) return;  // it may leave its temporary files
  for (const auto& entry : fs::directory_iterator(session_.home() / ".config/kelpie"))
    if (entry.path().extension() != ".plist") problem(entry.path().string() + " was left behind");
  if (fs::exists(repository_ + "/.git/index.lock")) problem("the index was left locked");
}

void FaultSession::checkLogs() {
  std::ptrdiff_t lines = 0;
  for (const auto& [program, log] : outcome_.logs) {
    lines += linesOf(log);
    if (linesOf(log) > kMostLines) outcome_.problems.push_back(program + " says too much");
  }
  if (outcome_.report.empty()) {
    if (fault_.at == 0 && lines > 0) outcome_.problems.push_back("words without a fault");
    return;
  }
  if (lines == 0 && !outcome_.costs.empty() && !isBelieved(fault_))
    outcome_.problems.push_back("it costs something and nobody says so");
}

}  // namespace kelpie
