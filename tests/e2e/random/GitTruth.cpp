#include "e2e/random/GitTruth.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <system_error>
#include <utility>

namespace kelpie {
namespace {

using Kind = GitTruth::Kind;

const char* badgeOfKind(Kind kind) {
  switch (kind) {
    case Kind::Current:
      return "KPCurrentBadge";
    case Kind::IndexNew:
      return "KPIndexNewBadge";
    case Kind::IndexModified:
      return "KPIndexModifiedBadge";
    case Kind::IndexDeleted:
      return "KPIndexDeletedBadge";
    case Kind::IndexRenamed:
      return "KPIndexRenamedBadge";
    case Kind::IndexTypeChanged:
      return "KPIndexTypeChangedBadge";
    case Kind::WorkdirNew:
      return "KPWorkdirNewBadge";
    case Kind::WorkdirModified:
      return "KPWorkdirModifiedBadge";
    case Kind::WorkdirDeleted:
      return "KPWorkdirDeletedBadge";
    case Kind::WorkdirRenamed:
      return "KPWorkdirRenamedBadge";
    case Kind::WorkdirTypeChanged:
      return "KPWorkdirTypeChangedBadge";
    case Kind::Ignored:
      return "KPIgnoredBadge";
    case Kind::Conflicted:
      return "KPConflictedBadge";
  }
  return "";
}

// What the two letters of a change say together: the one for the working folder goes first.
std::optional<Kind> kindOfLetters(char index, char workdir) {
  switch (workdir) {
    case 'M':
      return Kind::WorkdirModified;
    case 'A':
    case 'C':
      return Kind::WorkdirNew;
    case 'D':
      return Kind::WorkdirDeleted;
    case 'R':
      return Kind::WorkdirRenamed;
    case 'T':
      return Kind::WorkdirTypeChanged;
    case '.':
      break;
    default:
      return std::nullopt;
  }
  switch (index) {
    case 'M':
      return Kind::IndexModified;
    case 'A':
    case 'C':
      return Kind::IndexNew;
    case 'D':
      return Kind::IndexDeleted;
    case 'R':
      return Kind::IndexRenamed;
    case 'T':
      return Kind::IndexTypeChanged;
    default:
      return std::nullopt;
  }
}

// Splits at the first `count` blanks: the rest, which may have more of them, comes last.
std::vector<std::string_view> fieldsOf(std::string_view line, std::size_t count) {
  std::vector<std::string_view> fields;
  while (fields.size() < count) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return {};
    fields.push_back(line.substr(0, blank));
    line.remove_prefix(blank + 1);
  }
  fields.push_back(line);
  return fields;
}

// A folder in which `counts` of the items differ, and so many others count as well.
Kind kindOfFolder(const std::map<Kind, std::size_t>& counts, std::size_t total) {
  const auto countOf = [&](Kind kind) {
    const auto found = counts.find(kind);
    return found == counts.end() ? std::size_t{0} : found->second;
  };
  if (countOf(Kind::Conflicted) > 0) return Kind::Conflicted;
  if (countOf(Kind::WorkdirModified) > 0) return Kind::WorkdirModified;
  // What is all of one kind shows it; those in the index that have the same kind count along.
  constexpr std::array<std::pair<Kind, Kind>, 4> kWorkdir = {
      {{Kind::WorkdirNew, Kind::IndexNew},
       {Kind::WorkdirDeleted, Kind::IndexDeleted},
       {Kind::WorkdirRenamed, Kind::IndexRenamed},
       {Kind::WorkdirTypeChanged, Kind::IndexTypeChanged}}};
  for (const auto& [kind, inIndex] : kWorkdir) {
    const std::size_t count = countOf(kind);
    if (count == 0) continue;
    return count == total || count + countOf(inIndex) == total ? kind : Kind::WorkdirModified;
  }
  if (countOf(Kind::IndexModified) > 0) return Kind::IndexModified;
  for (const Kind kind :
       {Kind::IndexNew, Kind::IndexDeleted, Kind::IndexRenamed, Kind::IndexTypeChanged})
    if (const std::size_t count = countOf(kind); count > 0)
      return count == total ? kind : Kind::IndexModified;
  return Kind::Current;
}

}  // namespace

const std::vector<std::string>& GitTruth::command() {
  static const std::vector<std::string> words = {"git",
                                                 "--no-optional-locks",
                                                 "status",
                                                 "--porcelain=v2",
                                                 "-z",
                                                 "--no-ahead-behind",
                                                 "--untracked-files=all",
                                                 "--ignored=matching"};
  return words;
}

GitTruth::GitTruth(std::string root, const std::string& status)
    : root_(std::move(root)), status_(status) {
  parse();
}

// -- Git's words ----------------------------------------------------------------------------------

void GitTruth::parse() {
  std::string_view rest = status_;
  const auto next = [&rest] {
    const std::string_view line = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    return line;
  };
  while (!rest.empty()) {
    const std::string_view line = next();
    parseLine(line, line.starts_with("2 ") ? next() : std::string_view());
  }
}

void GitTruth::parseLine(std::string_view line, std::string_view renamedFrom) {
  if (line.starts_with("# ")) return;
  if (line.starts_with("? ")) return addOther(Kind::WorkdirNew, std::string(line.substr(2)));
  if (line.starts_with("! ")) return addOther(Kind::Ignored, std::string(line.substr(2)));
  // So many words stand before the path.
  const std::size_t words = line.starts_with("1 ")                           ? 8
                            : line.starts_with("2 ") && !renamedFrom.empty() ? 9
                            : line.starts_with("u ")                         ? 10
                                                                             : 0;
  const std::vector<std::string_view> fields = fieldsOf(line, words);
  if (words == 0 || fields.empty() || fields[1].size() != 2 || fields[2].empty()) {
    problem_.append(line).append("\n");
    return;
  }
  const std::string path(fields.back());
  const bool isFolder = fields[2].front() == 'S';
  if (!line.starts_with("u ")) return addChange(fields[1], isFolder, path);
  // A conflict about a file that is not there stands with the deleted ones.
  if (isThere(path))
    present_[path] = {Kind::Conflicted, isFolder};
  else
    gone_.emplace(path, Entry{Kind::Conflicted, isFolder});
}

void GitTruth::addChange(std::string_view letters, bool isFolder, const std::string& path) {
  const std::optional<Kind> kind = kindOfLetters(letters[0], letters[1]);
  if (!kind) {
    problem_.append(letters).append(" ").append(path).append("\n");
    return;
  }
  if (*kind == Kind::WorkdirDeleted || *kind == Kind::IndexDeleted)
    gone_.emplace(path, Entry{*kind, isFolder});
  else
    present_[path] = {*kind, isFolder};
}

void GitTruth::addOther(Kind kind, std::string path) {
  const bool isFolder = path.ends_with('/');
  if (isFolder) path.pop_back();
  // What was taken out of the index and kept on disk is told of twice. As an untracked item it is
  // new; where it is ignored now, that it was taken out of the index is what there is to see.
  const auto [first, last] = gone_.equal_range(path);
  const auto same = std::find_if(first, last, [&](const auto& gone) {
    return gone.second.kind == Kind::IndexDeleted && gone.second.isFolder == isFolder;
  });
  if (same != last) {
    if (kind == Kind::Ignored) kind = Kind::IndexDeleted;
    gone_.erase(same);
  }
  if (kind == Kind::Ignored && isFolder) ignoredFolders_.insert(path);
  present_[std::move(path)] = {kind, isFolder};
}

// -- Items ----------------------------------------------------------------------------------------

bool GitTruth::isThere(const std::string& path) const {
  struct stat found = {};
  return lstat((root_ + "/" + path).c_str(), &found) == 0;
}

bool GitTruth::isInIgnored(const std::string& path) const {
  for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
       slash = path.rfind('/', slash - 1))
    if (ignoredFolders_.contains(path.substr(0, slash))) return true;
  return false;
}

std::set<std::string> GitTruth::badgesOf(const std::string& path, const Knows& knows) const {
  if (path == root_) return badgesOfFolder("", knows);
  const std::string item = path.substr(root_.size() + 1);
  if (item == ".git" || item.starts_with(".git/")) return {""};
  if (const auto found = present_.find(item); found != present_.end())
    return {badgeOfKind(found->second.kind)};
  if (isInIgnored(item)) return {badgeOfKind(Kind::Ignored)};
  struct stat status = {};
  if (lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
    return badgesOfFolder(item, knows);
  return {badgeOfKind(Kind::Current)};
}

// -- Folders --------------------------------------------------------------------------------------

bool GitTruth::isDirty(const std::string& folder) const {
  if (folder.empty())
    return !gone_.empty() || std::ranges::any_of(present_, [](const auto& entry) {
      return entry.second.kind != Kind::Ignored;
    });
  const std::string inside = folder + "/";
  const auto isInside = [&](const auto& entry) {
    return entry.second.kind != Kind::Ignored && entry.first.starts_with(inside);
  };
  return std::ranges::any_of(present_, isInside) || std::ranges::any_of(gone_, isInside);
}

// Folders themselves do not count, nor does what lies in ignored ones; what git keeps has no entry.
void GitTruth::addContents(const std::string& folder, const Knows& knows,
                           Contents& contents) const {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(root_ + "/" + folder, error)) {
    const std::string name = entry.path().filename();
    const std::string path = folder.empty() ? name : folder + "/" + name;
    struct stat status = {};
    if (lstat(entry.path().c_str(), &status) != 0) continue;
    if (S_ISDIR(status.st_mode)) {
      if (name != ".git" && !ignoredFolders_.contains(path)) addContents(path, knows, contents);
      continue;
    }
    if (const auto found = present_.find(path); found != present_.end()) {
      if (found->second.kind != Kind::Ignored) ++contents.counts[found->second.kind];
      continue;
    }
    const Knowledge knowledge = knows(entry.path());
    contents.unchanged += knowledge == Knowledge::Yes ? 1U : 0U;
    contents.maybeMore |= knowledge == Knowledge::Maybe;
  }
}

// Deleted items elsewhere count along, so that nothing is all of one kind while there are any; and
// those count as inside whose path begins like the folder's, as text. Both are meant so.
std::set<std::string> GitTruth::badgesOfFolder(const std::string& folder,
                                               const Knows& knows) const {
  if (!isDirty(folder)) return {badgeOfKind(Kind::Current)};
  Contents contents;
  addContents(folder, knows, contents);
  std::size_t total = contents.unchanged + gone_.size();
  for (const auto& [kind, count] : contents.counts) total += count;
  for (const auto& [path, entry] : gone_)
    if (path.starts_with(folder)) ++contents.counts[entry.kind];
  std::set<std::string> badges = {badgeOfKind(kindOfFolder(contents.counts, total))};
  // Items that are ignored or unknown do not count; nor does a total without them.
  if (contents.maybeMore) badges.insert(badgeOfKind(kindOfFolder(contents.counts, total + 1)));
  return badges;
}

}  // namespace kelpie
