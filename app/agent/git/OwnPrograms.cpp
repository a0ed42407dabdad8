#include "agent/git/OwnPrograms.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <string_view>

namespace kelpie::agent {
namespace {

constexpr std::string_view kMonitor = "core.fsmonitor";
// git-lfs, which is usually the user's own filter, runs what the repository's settings name as its
// extensions.
constexpr std::string_view kLfsExtension = "lfs.extension.";
constexpr std::string_view kLfs = "lfs";
// The most names that anybody wants to read.
constexpr std::size_t kMostNamed = 20;

// section.subsection.variable, where the subsection may hold dots of its own.
struct KeyParts {
  std::string_view section;
  std::string_view subsection;
  std::string_view variable;
};

KeyParts partsOf(std::string_view key) {
  const std::size_t first = key.find('.');
  const std::size_t last = key.rfind('.');
  if (first == std::string_view::npos) return {key, {}, {}};
  if (first == last) return {key.substr(0, first), {}, key.substr(last + 1)};
  return {key.substr(0, first), key.substr(first + 1, last - first - 1), key.substr(last + 1)};
}

// A path into the working folder: the repository supplies the program, even if the user names it.
bool isFromWorkingFolder(const std::string& command) {
  const std::string_view word = std::string_view{command}.substr(0, command.find_first_of(" \t"));
  constexpr std::string_view kElsewhere = "/~$\"'";
  return word.find('/') != std::string_view::npos &&
         kElsewhere.find(word.front()) == std::string_view::npos;
}

// With these values git uses its own monitor or none, not a program of the repository's.
bool isBoolean(const std::string& value) {
  constexpr std::array<const char*, 9> kSwitches = {"",      "true", "yes", "on", "1",
                                                    "false", "no",   "off", "0"};
  return std::ranges::any_of(
      kSwitches, [&](const char* word) { return g_ascii_strcasecmp(word, value.c_str()) == 0; });
}

// The user's own command for the key, unless it leads into the working folder.
std::string usersCommand(const ScopedConfig& config, std::string_view key) {
  std::string command = config.usersValue(key);
  return isFromWorkingFolder(command) ? std::string() : command;
}

class Collector {
 public:
  explicit Collector(const ScopedConfig& config) : config_(config) {}

  OwnPrograms collect() &&;

 private:
  void collect(const ScopedConfig::Entry& entry);
  void name(const ScopedConfig::Entry& entry);
  void switchOff(const std::string& filter, bool hasProcess);

  const ScopedConfig& config_;
  OwnPrograms found_;
  // Whether it has a command of the kind that keeps running.
  std::map<std::string, bool> filters_;
  bool usersLfs_ = true;
};

void Collector::name(const ScopedConfig::Entry& entry) {
  if (found_.programs.size() > kMostNamed) return;
  found_.programs.push_back(found_.programs.size() == kMostNamed
                                ? "and more"
                                : entry.key + ": " + entry.value.value_or(""));
}

void Collector::collect(const ScopedConfig::Entry& entry) {
  const KeyParts parts = partsOf(entry.key);
  const std::string value = entry.value.value_or("");
  const bool isRepositorys = entry.isOwn || isFromWorkingFolder(value);
  if (entry.key == kMonitor) {
    if (isRepositorys && !isBoolean(value)) name(entry);
  } else if (parts.section == "filter") {
    const bool isCommand = parts.variable == "clean" || parts.variable == "process";
    if (isCommand ? !isRepositorys : !entry.isOwn || parts.variable != "required") return;
    filters_[std::string(parts.subsection)] |= parts.variable == "process";
    if (isCommand && !value.empty() && value != usersCommand(config_, entry.key)) name(entry);
  } else if (entry.isOwn && entry.key.starts_with(kLfsExtension) && parts.variable == "clean") {
    usersLfs_ = false;
    filters_[std::string(kLfs)] = true;
    name(entry);
  } else if (entry.isOwn && (entry.key == "extensions.partialclone" ||
                             (parts.section == "remote" && parts.variable == "promisor"))) {
    found_.isPartialClone = true;
  }
}

void Collector::switchOff(const std::string& filter, bool hasProcess) {
  const bool usersOwn = filter != kLfs || usersLfs_;
  const std::string prefix = "filter." + filter + ".";
  const auto command = [&](const char* variable) {
    return usersOwn ? usersCommand(config_, prefix + variable) : std::string();
  };
  const std::string clean = command("clean");
  const std::string process = command("process");
  found_.settings.emplace_back(prefix + "clean", clean);
  // As soon as there is one, even an empty one, git does not look at the other.
  if (hasProcess) found_.settings.emplace_back(prefix + "process", process);
  const bool runs = !process.empty() || (!hasProcess && !clean.empty());
  // A required filter without a command would make git fail.
  std::string required = runs ? config_.usersValue(prefix + "required") : std::string();
  found_.settings.emplace_back(prefix + "required", required.empty() ? "false" : required);
  if (!runs) found_.filters.push_back(filter);
}

OwnPrograms Collector::collect() && {
  for (const ScopedConfig::Entry& entry : config_.entries()) collect(entry);
  // Holds whatever the file says by the time git reads it.
  found_.settings.emplace_back(kMonitor, usersCommand(config_, kMonitor));
  for (const auto& [filter, hasProcess] : filters_) switchOff(filter, hasProcess);
  return std::move(found_);
}

}  // namespace

OwnPrograms OwnPrograms::of(const ScopedConfig& config) { return Collector(config).collect(); }

}  // namespace kelpie::agent
