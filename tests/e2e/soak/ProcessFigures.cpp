#include "e2e/soak/ProcessFigures.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// A line of /proc/PID/stat behind the program's name, which may hold anything.
struct Stat {
  char state = 0;
  pid_t parent = 0;
  double processorSeconds = 0;
};

std::optional<Stat> statOf(const std::string& process) {
  std::ifstream file("/proc/" + process + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t end = line.rfind(')');
  if (end == std::string::npos) return std::nullopt;
  std::istringstream fields(line.substr(end + 1));
  Stat stat;
  fields >> stat.state >> stat.parent;
  // Fields 5 to 13 of the line; the next four are its own time and that of its children.
  std::string skipped;
  for (int field = 5; field <= 13; ++field) fields >> skipped;
  double ticks = 0;
  for (double part = 0; const int field : {14, 15, 16, 17}) {
    static_cast<void>(field);
    if (fields >> part) ticks += part;
  }
  stat.processorSeconds = ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
  return stat;
}

void readStatus(const std::string& process, ProcessFigures& figures) {
  std::ifstream file("/proc/" + process + "/status");
  for (std::string word; file >> word;) {
    if (word == "VmRSS:") file >> figures.residentKiB;
    if (word == "RssAnon:") file >> figures.anonymousKiB;
    if (word == "Threads:") file >> figures.threads;
  }
}

// "socket" of "socket:[4711]", "inotify" of "anon_inode:inotify".
std::string kindOf(const std::string& target) {
  if (target.starts_with('/')) return "file";
  std::string kind = target.starts_with("anon_inode:") ? target.substr(11) : target;
  std::erase_if(kind, [](char c) { return c == '[' || c == ']'; });
  return kind.substr(0, kind.find(':'));
}

std::size_t watchesIn(const fs::path& descriptor) {
  std::ifstream file(descriptor);
  std::size_t watches = 0;
  for (std::string line; std::getline(file, line);)
    if (line.starts_with("inotify wd:")) ++watches;
  return watches;
}

void readDescriptors(const std::string& process, ProcessFigures& figures) {
  std::error_code error;
  const fs::path folder = "/proc/" + process;
  for (const auto& entry : fs::directory_iterator(folder / "fd", error)) {
    const std::string target = fs::read_symlink(entry.path(), error);
    if (error) continue;
    ++figures.descriptors;
    const std::string kind = kindOf(target);
    ++figures.descriptorKinds[kind];
    if (kind == "inotify")
      figures.watches += watchesIn(folder / "fdinfo" / entry.path().filename());
  }
}

void countChildren(pid_t process, ProcessFigures& figures) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc", error)) {
    const std::string name = entry.path().filename();
    if (!std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; })) continue;
    const std::optional<Stat> stat = statOf(name);
    if (!stat || stat->parent != process) continue;
    ++figures.children;
    if (stat->state == 'Z') ++figures.zombies;
  }
}

}  // namespace

ProcessFigures ProcessFigures::of(pid_t process) {
  ProcessFigures figures;
  figures.process = process;
  const std::string name = std::to_string(process);
  const std::optional<Stat> stat = statOf(name);
  if (!stat) return figures;
  figures.processorSeconds = stat->processorSeconds;
  readStatus(name, figures);
  readDescriptors(name, figures);
  countChildren(process, figures);
  return figures;
}

bool ProcessFigures::holdsAsManyAs(const ProcessFigures& other) const {
  return descriptors == other.descriptors && descriptorKinds == other.descriptorKinds &&
         children == other.children && zombies == other.zombies;
}

}  // namespace kelpie
