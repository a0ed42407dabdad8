#include "agent/actions/IncomingFiles.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/actions/IndexListing.h"
#include "agent/actions/WorkingFiles.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Entries = IncomingFiles::Entries;
using Source = IncomingFiles::Source;
using Sites = SafeReplacement::Sites;

// How many items in the way of one file are looked through.
constexpr std::size_t kMostInAFolder = 10'000;
// Submodules in submodules, and how many of them in all.
constexpr int kDeepestSubmodule = 8;
constexpr std::size_t kMostSubmoduleSites = 200;
// Prevents a path from being taken for a pattern.
constexpr std::string_view kHere = "./";
constexpr const char* kUnreadable =
    "What it would bring into the working folder could not be read. Nothing was done.";

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

std::vector<std::string> linesIn(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (!line.empty()) lines.emplace_back(line);
  }
  return lines;
}

bool hasHead(const GitCommand& git) {
  return git.ask({"rev-parse", "--verify", "--quiet", "HEAD^{commit}"}).succeeded();
}

// ":" mode blank mode blank oid blank oid blank letter NUL path NUL
bool parseDifference(std::string_view listed, Entries& entries) {
  const auto next = [&listed] {
    const std::string_view token = listed.substr(0, listed.find('\0'));
    listed.remove_prefix(std::min(listed.size(), token.size() + 1));
    return token;
  };
  while (!listed.empty()) {
    std::string_view facts = next();
    if (facts.empty()) continue;
    if (facts.front() != ':') return false;
    std::array<std::string_view, 4> fields;
    for (std::string_view& field : fields) {
      const std::size_t blank = facts.find(' ');
      if (blank == std::string_view::npos) return false;
      field = facts.substr(0, blank);
      facts.remove_prefix(blank + 1);
    }
    const std::string_view path = next();
    if (path.empty()) return false;
    entries.insert_or_assign(std::string(path),
                             TreeEntry{std::string(fields[1]), std::string(fields[3])});
  }
  return true;
}

bool hasRepository(const std::string& folder) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(folder + "/.git", ignored));
}

// The items outside the index that stand where an entry is to come, or where a folder for it is
// needed.
class Obstacles {
 public:
  Obstacles(const GitCommand& git, const IndexListing& index)
      : git_(git), index_(index), files_(git.folder()) {}

  void look(const std::string& path, const TreeEntry& entry);
  // The ignored ones among them, which git would replace; by the item that stands in the way.
  std::string addIgnored(const Entries& entries, PathPlan& plan) const;

 private:
  void add(const std::string& path) {
    if (index_.at(path).empty()) found_.insert(path);
  }

  const GitCommand& git_;
  const IndexListing& index_;
  WorkingFiles files_;
  std::set<std::string> found_;
  std::string problem_;
};

void Obstacles::look(const std::string& path, const TreeEntry& entry) {
  using Found = WorkingFiles::Kind;
  const WorkingFiles::Presence there = files_.look(path);
  if (there.kind == Found::Blocked) return add(there.blockedBy);
  if (there.isContent() || there.kind == Found::Other) return add(path);
  if (there.kind != Found::Folder || entry.isSubmodule()) return;
  const auto contents = files_.contents(path, kMostInAFolder);
  if (!contents) problem_ = path;
  for (const std::string& each : contents.value_or(std::vector<std::string>())) {
    // A repository of its own is in the folder: git leaves that alone and refuses.
    if (WorkingFiles::isSafe(each)) add(each);
  }
}

std::string Obstacles::addIgnored(const Entries& entries, PathPlan& plan) const {
  if (!problem_.empty())
    return "\"" + problem_ + "\" is a folder that cannot be looked through. Nothing was done.";
  if (found_.empty()) return {};
  std::string input;
  for (const std::string& path : found_) input += std::string(kHere) + path + '\0';
  const ProgramResult answer = git_.ask({"check-ignore", "-z", "--stdin"}, std::move(input));
  // The status 1 means that none is.
  if (answer.end != ProgramResult::End::Exited || answer.status > 1) return kUnreadable;
  for (std::string_view rest = answer.output; !rest.empty();) {
    const std::string_view answered = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), answered.size() + 1));
    const std::string path(answered.substr(std::min(answered.size(), kHere.size())));
    const auto entry = entries.find(path);
    const bool isReplaced = entry != entries.end() && !entry->second.isSubmodule();
    plan.targets[path] = isReplaced ? std::optional(entry->second) : std::nullopt;
    plan.items.insert(path);
  }
  return {};
}

// The files brought into a working copy, and into those of its submodules that follow.
class Planning {
 public:
  explicit Planning(const ActionJob& job) : job_(job) {}

  // Returns what went wrong, or an empty text.
  std::string plan(const WorkingCopy& workingCopy, const Source& source, int depth);
  // Without a site while nothing is in the way anywhere.
  std::variant<Sites, ActionOutcome> take() &&;

 private:
  std::string planSubmodules(const WorkingCopy& workingCopy, const Entries& entries, int depth);

  const ActionJob& job_;
  Sites sites_;
};

std::string Planning::plan(const WorkingCopy& workingCopy, const Source& source, int depth) {
  const GitCommand git = job_.git().in(workingCopy.root);
  const std::optional<Entries> entries = IncomingFiles::entriesOf(git, source);
  if (!entries) return kUnreadable;
  SafeReplacement::Site site{workingCopy, {}, nullptr};
  if (std::string problem = IncomingFiles::addObstacles(git, *entries, site.plan); !problem.empty())
    return problem;
  if (!site.plan.targets.empty()) sites_.push_back(std::move(site));
  const ProgramResult enters = git.ask({"config", "--type=bool", "--get", "submodule.recurse"});
  return enters.output == "true\n" ? planSubmodules(workingCopy, *entries, depth) : std::string();
}

std::string Planning::planSubmodules(const WorkingCopy& workingCopy, const Entries& entries,
                                     int depth) {
  for (const auto& [path, entry] : entries) {
    const std::string root = workingCopy.root + "/" + path;
    if (!entry.isSubmodule() || depth >= kDeepestSubmodule || !hasRepository(root)) continue;
    if (sites_.size() >= kMostSubmoduleSites) return kUnreadable;
    const auto found = WorkingCopyFinder(job_.git()).find(root).workingCopy;
    const std::optional<Source> source =
        found && found->root == root ? IncomingFiles::byCheckout(job_.git().in(root), entry.oid)
                                     : std::nullopt;
    if (!source) return kUnreadable;
    if (std::string problem = plan(*found, *source, depth + 1); !problem.empty()) return problem;
  }
  return {};
}

std::variant<Sites, ActionOutcome> Planning::take() && {
  for (SafeReplacement::Site& site : sites_) {
    site.status = SafeReplacement::statusOf(job_.git(), site.workingCopy);
    if (site.status == nullptr) return ActionOutcome::noStatus();
  }
  return std::move(sites_);
}

std::string obstaclesQuestion(const ActionJob& job, const Sites& sites) {
  std::vector<std::string> paths;
  for (const SafeReplacement::Site& site : sites)
    paths.insert(paths.end(), site.plan.items.begin(), site.plan.items.end());
  if (paths.empty()) return {};
  const std::string name = job.target().name;
  return std::string(job.label()) + (name.empty() ? "" : " " + name) + "?\n\n" +
         std::to_string(paths.size()) +
         " file(s) that git ignores are in the way and will be replaced or deleted: " +
         SafeReplacement::named(paths) + ".";
}

}  // namespace

std::optional<Source> IncomingFiles::byCheckout(const GitCommand& git, const std::string& commit) {
  return Source{{{hasHead(git) ? "HEAD" : "", commit}}, {}};
}

std::optional<Source> IncomingFiles::byMerge(const GitCommand& git, const std::string& commit) {
  if (!hasHead(git)) return Source{{{"", commit}}, {}};
  const ProgramResult bases = git.ask({"merge-base", "--all", "--end-of-options", "HEAD", commit});
  // The status 1 means that there is none.
  if (bases.end != ProgramResult::End::Exited || bases.status > 1) return std::nullopt;
  Source source;
  for (std::string& base : linesIn(bases.output))
    source.differences.push_back({std::move(base), commit});
  if (source.differences.empty()) source.differences.push_back({"", commit});
  // Files of a folder that one side has renamed may come under names that neither has; an older git
  // cannot tell.
  const ProgramResult merged = git.ask({"merge-tree", "--write-tree", "HEAD", commit});
  if (merged.end == ProgramResult::End::Exited && merged.status <= 1 && !merged.output.empty())
    source.differences.push_back({"HEAD", firstLine(merged.output)});
  return source;
}

std::optional<Source> IncomingFiles::byRebase(const GitCommand& git, const std::string& upstream,
                                              const std::string& onto) {
  std::optional<Source> source = byMerge(git, onto);
  const ProgramResult commits =
      git.ask({"rev-list", "--end-of-options", "HEAD", "^" + upstream, "--"});
  if (!source || !commits.succeeded()) return std::nullopt;
  source->differences.push_back({"HEAD", onto});
  source->commits = linesIn(commits.output);
  return source;
}

std::optional<Entries> IncomingFiles::entriesOf(const GitCommand& git, const Source& source) {
  const Arguments common = {"diff-tree",
                            "-r",
                            "-z",
                            "--raw",
                            "--no-renames",
                            "--no-commit-id",
                            "--diff-filter=d",
                            "--ignore-submodules=none"};
  Entries entries;
  const auto addEntries = [&entries](const ProgramResult& listed) {
    return listed.succeeded() && parseDifference(listed.output, entries);
  };
  if (!source.commits.empty()) {
    std::string input;
    for (const std::string& commit : source.commits) input += commit + '\n';
    Arguments all = common;
    all.insert(all.end(), {"--root", "--stdin"});
    if (!addEntries(git.ask(all, std::move(input)))) return std::nullopt;
  }
  for (const auto& [from, to] : source.differences) {
    // The tree with nothing in it is known to every git.
    const std::string before =
        from.empty() ? firstLine(git.ask({"hash-object", "-t", "tree", "--stdin"}).output) : from;
    Arguments all = common;
    all.insert(all.end(), {"--end-of-options", before, to, "--"});
    if (!addEntries(git.ask(all))) return std::nullopt;
  }
  return entries;
}

std::string IncomingFiles::addObstacles(const GitCommand& git, const Entries& entries,
                                        PathPlan& plan) {
  if (entries.empty()) return {};
  const auto index = IndexListing::read(git, [](std::string_view) { return true; });
  if (!index) return kUnreadable;
  Obstacles obstacles(git, *index);
  for (const auto& [path, entry] : entries)
    if (index->at(path).empty()) obstacles.look(path, entry);
  return obstacles.addIgnored(entries, plan);
}

ActionOutcome IncomingFiles::change(const ActionJob& job, Ignored ignored, Arguments arguments) {
  if (ignored == Ignored::Stay) arguments.insert(arguments.begin() + 1, "--no-overwrite-ignore");
  return job.change(arguments);
}

ActionOutcome IncomingFiles::checkOut(ActionJob& job, const std::string& commit,
                                      const Arguments& arguments) {
  return bring(
      job, [&] { return byCheckout(job.git(), commit); },
      [&](Ignored ignored) { return change(job, ignored, arguments); });
}

ActionOutcome IncomingFiles::merge(ActionJob& job, const std::string& commit,
                                   const std::string& spoken, const Arguments& options) {
  Arguments arguments = {"merge", "-q"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  arguments.push_back(spoken);
  return bring(
      job, [&] { return byMerge(job.git(), commit); },
      [&](Ignored ignored) { return change(job, ignored, arguments); });
}

ActionOutcome IncomingFiles::bring(ActionJob& job, const Finder& find, const Bringer& bring) {
  const auto plan = [&]() -> std::variant<Sites, ActionOutcome> {
    const std::optional<Source> source = find();
    if (!source) return ActionOutcome::failed(kUnreadable);
    Planning planning(job);
    if (std::string problem = planning.plan(job.workingCopy(), *source, 0); !problem.empty())
      return ActionOutcome::failed(std::move(problem));
    return std::move(planning).take();
  };
  return SafeReplacement::run(
      job, {.plan = plan,
            .question = [&](const Sites& sites) { return obstaclesQuestion(job, sites); },
            .carryOut =
                [&](const Sites& sites) {
                  return bring(sites.empty() ? Ignored::Stay : Ignored::MayBeReplaced);
                },
            .touchesAll = true});
}

}  // namespace kelpie::agent
