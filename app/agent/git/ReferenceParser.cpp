#include "agent/git/ReferenceParser.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace kelpie::agent {
namespace {

// Where some forge keeps the heads of its pull requests, and how it writes their numbers.
struct Forge {
  const char* pattern;  // for git; the last '*' stands for the number
  const char* mark;     // how the forge writes a number
};
constexpr std::array<Forge, 7> kForges = {{
    {"refs/pull/*/head", "#"},
    {"refs/merge-requests/*/head", "!"},
    {"refs/pull-requests/*/from", "#"},
    {"refs/remotes/*/pull/*/head", "#"},
    {"refs/remotes/*/merge-requests/*/head", "!"},
    {"refs/remotes/*/pull-requests/*/from", "#"},
    {"refs/remotes/*/pr/*", "#"},
}};

std::string_view cutUntil(std::string_view& text, char end) {
  const std::size_t at = text.find(end);
  const std::string_view part = text.substr(0, at);
  text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
  return part;
}

std::vector<std::string_view> fieldsOf(std::string_view line, char separator) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t at = line.find(separator);
    fields.push_back(line.substr(0, at));
    if (at == std::string_view::npos) return fields;
    line.remove_prefix(at + 1);
  }
}

bool isNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// The component of `name` that stands for the pattern's last '*'; absent when it does not match.
std::optional<std::string_view> numberIn(std::string_view name, std::string_view pattern) {
  const std::vector<std::string_view> want = fieldsOf(pattern, '/');
  const std::vector<std::string_view> have = fieldsOf(name, '/');
  if (want.size() != have.size()) return std::nullopt;
  std::optional<std::string_view> number;
  for (std::size_t i = 0; i < want.size(); ++i)
    if (want[i] == "*")
      number = have[i];
    else if (want[i] != have[i])
      return std::nullopt;
  return number && isNumber(*number) ? number : std::nullopt;
}

std::optional<std::string> pullRequestNumber(std::string_view name) {
  for (const Forge& forge : kForges)
    if (const auto number = numberIn(name, forge.pattern)) return forge.mark + std::string(*number);
  return std::nullopt;
}

}  // namespace

std::optional<std::vector<ListedReference>> parseReferences(std::string_view output) {
  std::vector<ListedReference> references;
  while (!output.empty()) {
    const std::vector<std::string_view> fields = fieldsOf(cutUntil(output, '\n'), '\0');
    if (fields.size() != 6 || fields[0].empty()) return std::nullopt;
    references.push_back({.name = std::string(fields[0]),
                          .oid = std::string(fields[2].empty() ? fields[1] : fields[2]),
                          .upstream = std::string(fields[3]),
                          .isHead = fields[4] == "*",
                          .isSymbolic = !fields[5].empty()});
  }
  return references;
}

std::vector<std::string> pullRequestPatterns() {
  std::vector<std::string> patterns;
  patterns.reserve(kForges.size());
  for (const Forge& forge : kForges) patterns.emplace_back(forge.pattern);
  return patterns;
}

std::vector<PullRequest> parsePullRequests(std::string_view output) {
  std::vector<PullRequest> requests;
  while (!output.empty()) {
    const std::vector<std::string_view> fields = fieldsOf(cutUntil(output, '\n'), '\0');
    if (fields.size() != 3) continue;
    std::optional<std::string> title = pullRequestNumber(fields[0]);
    if (!title) continue;
    if (!fields[2].empty()) title->append(" ").append(fields[2]);
    requests.push_back({std::string(fields[0]), std::string(fields[1]), *std::move(title)});
  }
  return requests;
}

std::vector<Stash> parseStashes(std::string_view output) {
  std::vector<Stash> stashes;
  while (!output.empty()) {
    Stash stash;
    stash.oid = cutUntil(output, '\0');
    stash.title = cutUntil(output, '\0');
    stashes.push_back(std::move(stash));
  }
  return stashes;
}

std::vector<Remote> remotesOf(const GitConfig& config) {
  std::vector<Remote> remotes;
  for (const std::string& name : config.subsections("remote")) {
    const std::string prefix = "remote." + name + ".";
    Remote remote;
    remote.name = name;
    remote.url = config.get(prefix + "url").value_or("");
    remote.pushUrl = config.get(prefix + "pushurl").value_or("");
    remote.fetchRefspecs = config.all(prefix + "fetch");
    remote.pushRefspecs = config.all(prefix + "push");
    remote.tagOption = config.get(prefix + "tagopt").value_or("");
    remote.skipFetchAll = config.getBool(prefix + "skipfetchall", false) ||
                          config.getBool(prefix + "skipdefaultupdate", false);
    // Settings for all remotes of some name, in the user's own configuration, make no remote.
    if (remote.url.empty() && remote.pushUrl.empty() && remote.fetchRefspecs.empty()) continue;
    remotes.push_back(std::move(remote));
  }
  std::ranges::sort(remotes, {}, &Remote::name);
  return remotes;
}

std::vector<Submodule> submodulesOf(const GitConfig& modules) {
  std::vector<Submodule> submodules;
  for (const std::string& name : modules.subsections("submodule")) {
    const std::string prefix = "submodule." + name + ".";
    Submodule submodule;
    submodule.name = name;
    submodule.path = modules.get(prefix + "path").value_or("");
    submodule.url = modules.get(prefix + "url").value_or("");
    submodule.ignore = modules.get(prefix + "ignore").value_or("");
    submodule.update = modules.get(prefix + "update").value_or("");
    submodule.fetchRecurse = modules.get(prefix + "fetchrecursesubmodules").value_or("");
    if (!submodule.path.empty()) submodules.push_back(std::move(submodule));
  }
  return submodules;
}

std::optional<Gitflow> gitflowOf(const GitConfig& config) {
  const auto value = [&](const char* key, const char* fallback) {
    return config.get(std::string("gitflow.") + key).value_or(fallback);
  };
  Gitflow flow;
  flow.master = value("branch.master", "");
  flow.develop = value("branch.develop", "");
  if (flow.master.empty() || flow.develop.empty()) return std::nullopt;
  flow.featurePrefix = value("prefix.feature", "feature/");
  flow.releasePrefix = value("prefix.release", "release/");
  flow.hotfixPrefix = value("prefix.hotfix", "hotfix/");
  flow.versionTagPrefix = value("prefix.versiontag", "");
  return flow;
}

}  // namespace kelpie::agent
