#include "agent/git/ScopedConfig.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <utility>

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kReadingLimit = std::chrono::seconds(20);
constexpr std::string_view kFileOrigin = "file:";

std::optional<std::string_view> cutConfigField(std::string_view& text) {
  const std::size_t end = text.find('\0');
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view field = text.substr(0, end);
  text.remove_prefix(end + 1);
  return field;
}

// git names a file of the repository from the folder that it runs in.
std::string fileOf(std::string_view origin, const std::string& folder) {
  if (!origin.starts_with(kFileOrigin)) return {};
  origin.remove_prefix(kFileOrigin.size());
  return (fs::path(folder) / origin).lexically_normal().string();
}

bool isInclude(std::string_view key) {
  return key == "include.path" || (key.starts_with("includeif.") && key.ends_with(".path"));
}

std::string includedFile(const ScopedConfig::Entry& entry) {
  const std::string path = entry.value.value_or("");
  if (path.empty()) return {};
  if (path.starts_with("~/")) return std::string(g_get_home_dir()) + path.substr(1);
  return (fs::path(entry.file).parent_path() / path).lexically_normal().string();
}

}  // namespace

Result<ScopedConfig> ScopedConfig::read(const GitCommand& git) {
  const ProgramResult listed = git.ask({"config", "-z", "--show-scope", "--show-origin", "--list"},
                                       {}, nullptr, kReadingLimit);
  if (!listed.succeeded()) return Problem{listed.failure()};
  std::optional<ScopedConfig> config = parse(listed.output, git.folder());
  if (!config) return Problem{"git's settings could not be understood."};
  return *std::move(config);
}

// scope NUL origin NUL key [newline value] NUL
std::optional<ScopedConfig> ScopedConfig::parse(std::string_view output,
                                                const std::string& folder) {
  constexpr std::array<std::string_view, 3> kScopesOfUser = {"system", "global", "command"};
  ScopedConfig config;
  while (!output.empty()) {
    const std::optional<std::string_view> scope = cutConfigField(output);
    const std::optional<std::string_view> origin = cutConfigField(output);
    const std::optional<std::string_view> setting = cutConfigField(output);
    if (!scope || !origin || !setting) return std::nullopt;
    Entry entry;
    const std::size_t split = setting->find('\n');
    entry.key = setting->substr(0, split);
    if (split != std::string_view::npos) entry.value.emplace(setting->substr(split + 1));
    entry.file = fileOf(*origin, folder);
    // Settings without a file are this program's own.
    entry.isOwn = std::ranges::find(kScopesOfUser, *scope) == kScopesOfUser.end();
    if (!entry.isOwn && !entry.file.empty())
      config.usersValues_.insert_or_assign(entry.key, entry.value.value_or(""));
    config.entries_.push_back(std::move(entry));
  }
  return config;
}

std::string ScopedConfig::usersValue(std::string_view key) const {
  const auto found = usersValues_.find(key);
  return found == usersValues_.end() ? std::string() : found->second;
}

std::vector<std::string> ScopedConfig::files() const {
  std::vector<std::string> files;
  const auto add = [&files](std::string file) {
    if (!file.empty()) files.push_back(std::move(file));
  };
  for (const Entry& entry : entries_) {
    if (files.empty() || files.back() != entry.file) add(entry.file);
    if (isInclude(entry.key)) add(includedFile(entry));
  }
  std::ranges::sort(files);
  files.erase(std::unique(files.begin(), files.end()), files.end());
  return files;
}

}  // namespace kelpie::agent
