#include "agent/git/StatusParser.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <unordered_map>
#include <utility>

namespace kelpie::agent {
namespace {

// The meaning of each of git's two letters, for the index and for the working folder. A copy is a
// new file; an item that was only announced to the index (".A") is as new as before.
struct Letter {
  char letter;
  StatusWord index;
  StatusWord workdir;
};
constexpr std::array<Letter, 7> kLetters = {{
    {'.', KPStatusCurrent, KPStatusCurrent},
    {'M', KPStatusIndexModified, KPStatusWorkdirModified},
    {'A', KPStatusIndexNew, KPStatusWorkdirNew},
    {'D', KPStatusIndexDeleted, KPStatusWorkdirDeleted},
    {'R', KPStatusIndexRenamed, KPStatusWorkdirRenamed},
    {'C', KPStatusIndexNew, KPStatusWorkdirNew},
    {'T', KPStatusIndexTypeChanged, KPStatusWorkdirTypeChanged},
}};

const Letter* letterOf(char letter) {
  const auto* found = std::ranges::find(kLetters, letter, &Letter::letter);
  return found == kLetters.end() ? nullptr : found;
}

// A conflict without a common ancestor.
constexpr StatusWord kWithoutAncestor = 0x1000;

// Cuts the next field off `line`, which stands before a blank. Absent when there is no blank.
std::optional<std::string_view> cutField(std::string_view& line) {
  const std::size_t end = line.find(' ');
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view field = line.substr(0, end);
  line.remove_prefix(end + 1);
  return field;
}

bool skipFields(std::string_view& line, int count) {
  for (; count > 0; --count)
    if (!cutField(line)) return false;
  return true;
}

class Parser {
 public:
  explicit Parser(std::string_view output) : rest_(output) {}

  std::optional<std::vector<StatusItem>> parse() {
    while (!rest_.empty()) {
      const std::optional<std::string_view> line = cutLine();
      if (!line || !parseLine(*line)) return std::nullopt;
    }
    return std::move(items_);
  }

 private:
  std::optional<std::string_view> cutLine() {
    const std::size_t end = rest_.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return line;
  }

  bool parseLine(std::string_view line) {
    const std::string_view kind = line.substr(0, 2);
    std::string_view fields = line.substr(kind.size());
    if (kind == "1 ") return parseChange(fields, 5, false);
    if (kind == "2 ") return parseChange(fields, 6, true);
    if (kind == "u ") return parseConflict(fields);
    if (kind == "? ") return parseUntracked(fields, KPStatusWorkdirNew);
    if (kind == "! ") return parseUntracked(fields, KPStatusIgnored);
    // Headers, also those of a git to come.
    return kind == "# ";
  }

  // XY sub mH mI mW hH hI [score] path
  bool parseChange(std::string_view fields, int fieldsAfterSub, bool renamed);
  // XY sub m1 m2 m3 mW h1 h2 h3 path
  bool parseConflict(std::string_view fields);
  bool parseUntracked(std::string_view path, StatusWord word);

  std::string_view rest_;
  std::vector<StatusItem> items_;
  // Items that are deleted in the index only: git reports once more what is in their place.
  std::unordered_map<std::string_view, std::size_t> deletedInIndex_;
};

bool Parser::parseChange(std::string_view fields, int fieldsAfterSub, bool renamed) {
  const std::optional<std::string_view> letters = cutField(fields);
  const std::optional<std::string_view> submodule = cutField(fields);
  if (!letters || letters->size() != 2 || !submodule || submodule->empty()) return false;
  const Letter* index = letterOf((*letters)[0]);
  const Letter* workdir = letterOf((*letters)[1]);
  if (index == nullptr || workdir == nullptr) return false;
  if (!skipFields(fields, fieldsAfterSub) || fields.empty()) return false;

  StatusItem item;
  item.path = fields;
  item.word = static_cast<StatusWord>(index->index | workdir->workdir);
  item.isFolder = submodule->front() == 'S';
  // An item that was removed from the index and announced to it again ("DA") exists.
  item.isGone = workdir->letter == 'D' || (index->letter == 'D' && workdir->letter == '.');
  constexpr std::string_view kMadeInWorkdir = "ARC";
  item.isAnnounced = kMadeInWorkdir.find(workdir->letter) != std::string_view::npos;
  if (renamed) {
    const std::optional<std::string_view> before = cutLine();
    if (!before || before->empty()) return false;
    item.renamedFrom = *before;
  }
  if (item.word == KPStatusIndexDeleted) deletedInIndex_.emplace(fields, items_.size());
  items_.push_back(std::move(item));
  return true;
}

bool Parser::parseConflict(std::string_view fields) {
  const std::optional<std::string_view> letters = cutField(fields);
  const std::optional<std::string_view> submodule = cutField(fields);
  const std::optional<std::string_view> ancestorMode = cutField(fields);
  if (!letters || !submodule || submodule->empty() || !ancestorMode) return false;
  if (!skipFields(fields, 6) || fields.empty()) return false;
  StatusItem item;
  item.path = fields;
  item.word = KPStatusConflicted;
  if (ancestorMode->find_first_not_of('0') == std::string_view::npos) item.word |= kWithoutAncestor;
  item.isFolder = submodule->front() == 'S';
  items_.push_back(std::move(item));
  return true;
}

bool Parser::parseUntracked(std::string_view path, StatusWord word) {
  StatusItem item;
  item.isFolder = path.ends_with('/');
  if (item.isFolder) path.remove_suffix(1);
  if (path.empty()) return false;
  if (const auto deleted = deletedInIndex_.find(path);
      deleted != deletedInIndex_.end() && items_[deleted->second].isFolder == item.isFolder) {
    // Taken out of the index, kept on disk. Where the file is ignored now, its deletion from the
    // index is still what there is to see, and to undo.
    StatusItem& before = items_[deleted->second];
    before.isGone = false;
    if (word != KPStatusIgnored) before.word |= word;
    return true;
  }
  item.path = path;
  item.word = word;
  items_.push_back(std::move(item));
  return true;
}

}  // namespace

std::optional<std::vector<StatusItem>> parseStatus(std::string_view output) {
  return Parser(output).parse();
}

}  // namespace kelpie::agent
