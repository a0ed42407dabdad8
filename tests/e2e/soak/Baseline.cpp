#include "e2e/soak/Baseline.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "support/linux/ChildProcess.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// What of .git stays; all else is what git has put there since.
constexpr std::array<std::string_view, 5> kKept = {"objects", "hooks", "description", "HEAD",
                                                   "config"};

}  // namespace

Baseline::Baseline(const Playground& place)
    : place_(place),
      config_(place.read(".git/config")),
      exclude_(place.read(".git/info/exclude")),
      commit_(place.ask({"rev-parse", "HEAD"})) {}

void Baseline::restoreRepository() const {
  std::error_code error;
  std::vector<std::string> others;
  for (const auto& entry : fs::directory_iterator(place_ / ".git", error)) {
    const std::string name = entry.path().filename();
    if (std::ranges::find(kKept, name) == kKept.end()) others.push_back(name);
  }
  for (const std::string& name : others) place_.remove(".git/" + name);
  for (const char* folder : {".git/refs/heads", ".git/refs/tags", ".git/info"})
    place_.addFolder(folder);
  place_.write(".git/config", config_);
  place_.write(".git/info/exclude", exclude_);
  place_.write(".git/refs/heads/main", commit_);
  place_.write(".git/HEAD", "ref: refs/heads/main\n");
}

// What git says when it fails.
std::string Baseline::run(std::vector<std::string> command) const {
  const std::string name = command.front();
  command.insert(command.begin(), {"git", "-C", place_.root()});
  ChildProcess git(command, place_.session().environment());
  if (git.waitForEnd() == 0) return "";
  return "git " + name + " in " + place_.root() + ": " + git.errors();
}

std::string Baseline::restore() const {
  restoreRepository();
  // Nothing is left that says how files are written, and without an index all goes.
  for (const std::vector<std::string>& command :
       std::vector<std::vector<std::string>>{{"clean", "-q", "-d", "-ff", "-x"},
                                             {"reset", "-q", "--hard"},
                                             {"gc", "-q", "--prune=now"}})
    if (std::string problem = run(command); !problem.empty()) return problem;
  return place_.ask({"status", "--porcelain", "--ignored"});
}

}  // namespace kelpie
