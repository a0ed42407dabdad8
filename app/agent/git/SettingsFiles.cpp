#include "agent/git/SettingsFiles.h"

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace kelpie::agent {
namespace {

std::string homeFolder() {
  const char* home = std::getenv("HOME");
  return home != nullptr && *home != '\0' ? home : g_get_home_dir();
}

// As git finds it: a folder that the variable names, else the usual one.
std::string configurationFolder() {
  const char* folder = std::getenv("XDG_CONFIG_HOME");
  return folder != nullptr && *folder != '\0' ? std::string(folder) : homeFolder() + "/.config";
}

struct Files {
  std::vector<std::string> all;
  std::vector<std::string> configuration;  // those among them that may name others

  void add(std::string path) {
    if (!path.empty() && all.size() < kMaximumSettingsFiles &&
        std::ranges::find(all, path) == all.end())
      all.push_back(std::move(path));
  }
  void addConfiguration(std::string path) {
    const std::size_t before = all.size();
    add(std::move(path));
    if (all.size() > before) configuration.push_back(all.back());
  }
};

// The absolute path for one that a setting in `file` names; empty for one that only git can tell.
std::string absolutePath(std::string_view path, const std::string& file) {
  if (path.starts_with("~/")) return homeFolder() + std::string(path.substr(1));
  if (path.starts_with('/')) return std::string(path);
  if (path.empty() || path.front() == '~' || path.front() == '%') return {};
  return file.substr(0, file.rfind('/') + 1) + std::string(path);
}

bool isInclusion(std::string_view key) {
  return key == "include.path" || (key.starts_with("includeif.") && key.ends_with(".path"));
}

bool namesAFile(std::string_view key) {
  return key == "core.excludesfile" || key == "core.attributesfile";
}

// The files that one file of configuration names. A file that git cannot read names nothing.
void readListed(const GitCommand& git, const std::string& file, Files& files) {
  const ProgramResult listed = git.ask({"config", "--file", file, "--list", "-z"});
  if (!listed.succeeded()) return;
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    const std::size_t split = entry.find('\n');
    if (split == std::string_view::npos) continue;
    const std::string_view key = entry.substr(0, split);
    const std::string_view value = entry.substr(split + 1);
    std::string path = absolutePath(value, file);
    if (path.empty()) continue;
    if (isInclusion(key))
      files.addConfiguration(std::move(path));
    else if (namesAFile(key))
      files.add(std::move(path));
  }
}

}  // namespace

std::vector<std::string> settingsFiles(const GitCommand& git) {
  Files files;
  const char* global = std::getenv("GIT_CONFIG_GLOBAL");
  if (global != nullptr) {
    files.addConfiguration(global);
  } else {
    files.addConfiguration(homeFolder() + "/.gitconfig");
    files.addConfiguration(configurationFolder() + "/git/config");
  }
  const char* system = std::getenv("GIT_CONFIG_SYSTEM");
  files.addConfiguration(system != nullptr ? system : "/etc/gitconfig");
  for (const char* name : {"/git/ignore", "/git/attributes"})
    files.add(configurationFolder() + name);
  files.add("/etc/gitattributes");
  // It grows while it is read.
  for (std::size_t i = 0; i < files.configuration.size(); ++i)
    readListed(git.in("/"), std::string(files.configuration[i]), files);
  return std::move(files.all);
}

// git finds the lists from the root, and included files from the file that includes them.
std::vector<std::string> ownSettingsFiles(const ScopedConfig& config,
                                          const WorkingCopy& workingCopy) {
  Files files;
  for (const ScopedConfig::Entry& entry : config.entries()) {
    if (!entry.isOwn) continue;
    if (entry.file != workingCopy.commonDirectory + "/config" &&
        entry.file != workingCopy.gitDirectory + "/config.worktree")
      files.add(entry.file);
    const bool isList = namesAFile(entry.key);
    if (!entry.value || (!isList && !isInclusion(entry.key))) continue;
    std::string path = absolutePath(*entry.value, isList ? workingCopy.root + "/" : entry.file);
    if (!path.empty()) files.add(std::move(path));
  }
  return std::move(files.all);
}

}  // namespace kelpie::agent
