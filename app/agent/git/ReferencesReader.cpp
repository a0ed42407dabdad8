#include "agent/git/ReferencesReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "linux/base/RegularFile.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

struct KindOfName {
  std::string_view prefix;
  ReferenceKind kind;
  std::vector<Reference> ReferencesSnapshot::*list;
};
constexpr std::array<KindOfName, 3> kReferenceKinds = {{
    {"refs/heads/", ReferenceKind::LocalBranch, &ReferencesSnapshot::branches},
    {"refs/tags/", ReferenceKind::Tag, &ReferencesSnapshot::tags},
    {"refs/remotes/", ReferenceKind::RemoteBranch, &ReferencesSnapshot::remoteBranches},
}};
constexpr std::string_view kStashName = "refs/stash";
constexpr std::string_view kLocalPrefix = kReferenceKinds[0].prefix;

std::string nameWithoutLineEnd(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

// Whether a file of attributes has something kept by git-lfs. More than a megabyte of attributes is
// not read.
bool mentionsGitlfs(const fs::path& attributes) {
  const auto text = RegularFile::read(attributes.string(), std::size_t{1} << 20U);
  return text && text->find("filter=lfs") != std::string::npos;
}

// The branches with the prefix that git-flow gives to one kind of work.
std::vector<std::string> branchesWith(const std::string& prefix,
                                      const std::vector<Reference>& branches) {
  std::vector<std::string> names;
  for (const Reference& branch : branches)
    if (branch.shortName.size() > prefix.size() && branch.shortName.starts_with(prefix))
      names.push_back(branch.shortName);
  return names;
}

}  // namespace

ProgramResult ReferencesReader::ask(const Arguments& arguments) const {
  return git_.ask(arguments, {}, cancellable_);
}

ReferencesReader::Reading ReferencesReader::read(GCancellable* cancellable) {
  cancellable_ = cancellable;
  auto snapshot = std::make_shared<ReferencesSnapshot>();
  snapshot->bare = workingCopy_.bare;

  const ProgramResult settings = ask({"config", "-z", "--list"});
  if (!settings.succeeded()) return settings.failure();
  const GitConfig config = GitConfig::parse(settings.output);
  snapshot->remotes = remotesOf(config);
  snapshot->pushDefault = config.get("remote.pushdefault").value_or("");

  bool hasStash = false;
  if (std::string why = readReferences(*snapshot, hasStash); !why.empty()) return why;
  if (std::string why = readHead(*snapshot); !why.empty()) return why;
  if (hasStash) readStashes(*snapshot);
  readPullRequests(*snapshot);
  if (!workingCopy_.bare) readSubmodules(*snapshot);
  snapshot->gitflow = gitflowOf(config);
  if (snapshot->gitflow) {
    Gitflow& flow = *snapshot->gitflow;
    flow.features = branchesWith(flow.featurePrefix, snapshot->branches);
    flow.releases = branchesWith(flow.releasePrefix, snapshot->branches);
    flow.hotfixes = branchesWith(flow.hotfixPrefix, snapshot->branches);
  }
  snapshot->hasGitlfs = usesGitlfs();
  numbers_.forgetOthers();
  return std::shared_ptr<const ReferencesSnapshot>(std::move(snapshot));
}

std::string ReferencesReader::readReferences(ReferencesSnapshot& into, bool& hasStash) {
  const ProgramResult listed = ask({"for-each-ref", kReferenceFormat, "refs/heads", "refs/tags",
                                    "refs/remotes", std::string(kStashName)});
  if (!listed.succeeded()) return listed.failure();
  std::optional<std::vector<ListedReference>> references = parseReferences(listed.output);
  if (!references) return "git's list of references could not be understood.";
  for (ListedReference& each : *references)
    if (each.name == kStashName)
      hasStash = true;
    else
      addReference(std::move(each), into);
  return {};
}

void ReferencesReader::addReference(ListedReference listed, ReferencesSnapshot& into) {
  const auto* kind = std::ranges::find_if(kReferenceKinds, [&](const KindOfName& each) {
    return listed.name.starts_with(each.prefix);
  });
  if (kind == kReferenceKinds.end()) return;
  const bool ofRemote = kind->kind == ReferenceKind::RemoteBranch;
  // A remote's own HEAD only stands for one of its branches.
  if (ofRemote && listed.isSymbolic) return;
  Reference reference;
  reference.kind = kind->kind;
  reference.shortName = listed.name.substr(kind->prefix.size());
  reference.fullName = std::move(listed.name);
  reference.oid = std::move(listed.oid);
  reference.upstream = std::move(listed.upstream);
  reference.isHead = listed.isHead;
  if (ofRemote && into.remoteOf(reference) == nullptr) return;
  reference.number = numbers_.numberFor(reference.fullName);
  (into.*kind->list).push_back(std::move(reference));
}

std::string ReferencesReader::readHead(ReferencesSnapshot& into) {
  const ProgramResult symbolic = ask({"symbolic-ref", "--quiet", "HEAD"});
  if (symbolic.end == ProgramResult::End::Exited && symbolic.status == 0) {
    const std::string name = nameWithoutLineEnd(symbolic.output);
    if (const Reference* branch = into.referenceNamed(name)) {
      into.headBranch = *branch;
      into.hasHeadCommit = true;
      return {};
    }
    // No commit yet: the branch comes to be with the first one.
    into.headBranch.emplace();
    into.headBranch->fullName = name;
    into.headBranch->shortName =
        name.starts_with(kLocalPrefix) ? name.substr(kLocalPrefix.size()) : name;
    into.headBranch->isHead = true;
    return {};
  }
  if (symbolic.end != ProgramResult::End::Exited || symbolic.status != 1) return symbolic.failure();
  const ProgramResult commit = ask({"rev-parse", "--quiet", "--verify", "HEAD^{commit}"});
  if (!commit.succeeded()) return {};
  Reference head;
  head.fullName = "HEAD";
  head.shortName = "(HEAD)";
  head.oid = nameWithoutLineEnd(commit.output);
  // It is what is checked out, so that nobody is offered to delete it or to merge it into itself.
  head.isHead = true;
  head.isDetached = true;
  head.number = numbers_.numberFor(head.fullName);
  into.headBranch = head;
  into.hasHeadCommit = true;
  into.branches.push_back(std::move(head));
  return {};
}

void ReferencesReader::readStashes(ReferencesSnapshot& into) {
  const ProgramResult listed = ask({"stash", "list", "-z", kStashFormat});
  if (listed.succeeded()) into.stashes = parseStashes(listed.output);
}

void ReferencesReader::readPullRequests(ReferencesSnapshot& into) {
  Arguments arguments = {"for-each-ref", kPullRequestFormat};
  for (std::string& pattern : pullRequestPatterns()) arguments.push_back(std::move(pattern));
  const ProgramResult listed = ask(arguments);
  if (listed.succeeded()) into.pullRequests = parsePullRequests(listed.output);
}

void ReferencesReader::readSubmodules(ReferencesSnapshot& into) {
  std::error_code ignored;
  if (!fs::is_regular_file(fs::path(workingCopy_.root) / ".gitmodules", ignored)) return;
  const ProgramResult modules = ask({"config", "-z", "-f", ".gitmodules", "--list"});
  if (!modules.succeeded()) return;
  into.submodules = submodulesOf(GitConfig::parse(modules.output));
  if (into.submodules.empty()) return;
  Arguments arguments = {"ls-files", "--stage", "-z", "--"};
  std::unordered_map<std::string_view, Submodule*> byPath;
  for (Submodule& submodule : into.submodules) {
    arguments.push_back(submodule.path);
    byPath.try_emplace(submodule.path, &submodule);
  }
  const ProgramResult listed = ask(arguments);
  // mode blank oid blank stage tab path NUL
  for (std::string_view rest = listed.output; !rest.empty();) {
    const std::string_view entry = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    const std::size_t tab = entry.find('\t');
    const std::size_t blank = entry.find(' ');
    if (!entry.starts_with("160000 ") || tab == std::string_view::npos) continue;
    const auto found = byPath.find(entry.substr(tab + 1));
    if (found == byPath.end()) continue;
    found->second->oid = entry.substr(blank + 1, entry.find(' ', blank + 1) - blank - 1);
  }
}

bool ReferencesReader::usesGitlfs() const {
  std::error_code ignored;
  const fs::path common(workingCopy_.commonDirectory);
  if (fs::is_directory(common / "lfs", ignored)) return true;
  if (mentionsGitlfs(common / "info" / "attributes")) return true;
  return !workingCopy_.bare && mentionsGitlfs(fs::path(workingCopy_.root) / ".gitattributes");
}

}  // namespace kelpie::agent
