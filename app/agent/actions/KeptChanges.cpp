#include "agent/actions/KeptChanges.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <system_error>
#include <utility>

#include "linux/base/RegularFile.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;
using Item = KeptChanges::Item;

constexpr std::string_view kFiles = "files/";
constexpr std::string_view kIndex = "index/";
constexpr std::string_view kState = "state/";
constexpr std::string_view kManifest = "items";
constexpr std::string_view kLabel = "label";
constexpr std::string_view kHead = "head";
// A larger file in the git directory was not written by git.
constexpr std::size_t kLargestState = std::size_t{1} << 20U;
// How much content is read from git at a time; a larger file comes alone.
constexpr std::uint64_t kBatch = std::uint64_t{16} << 20U;

// A folder in the git directory that goes with this.
class Scratch {
 public:
  explicit Scratch(const std::string& gitDirectory) : path_(gitDirectory + "/kelpie-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) path_.clear();
  }
  ~Scratch() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  bool exists() const { return !path_.empty(); }
  std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }
  // Makes a new file with that content. Returns its path; empty when it cannot be written.
  std::string write(std::string_view content) {
    std::string file = path("content-" + std::to_string(++files_));
    std::ofstream out(file, std::ios::binary);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    return out.good() ? file : std::string();
  }

 private:
  std::string path_;
  std::size_t files_ = 0;
};

// As git reads a path in quotation marks: any byte, one line.
std::string inQuotes(std::string_view path) {
  std::string text = "\"";
  for (const char each : path) {
    std::array<char, 5> octal{};
    std::snprintf(octal.data(), octal.size(), "\\%03o", static_cast<unsigned char>(each));
    text += octal.data();
  }
  return text + "\"";
}

std::string withoutLineEnd(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

std::optional<std::string> contentOf(const std::string& file) {
  std::optional<std::string> text = RegularFile::read(file, kLargestState + 1);
  if (text && text->size() > kLargestState) return std::nullopt;
  return text;
}

Item::Kind kindOf(const std::string& path, const PathPlan& plan, const PathSurvey& survey) {
  const PathSurvey::State& state = survey.at(path);
  const std::optional<TreeEntry>& target = plan.targets.at(path);
  if (target ? target->isSubmodule() : state.presence.kind == WorkingFiles::Kind::Folder)
    return Item::Kind::Left;
  // Where git could write the file again, it might write other line ends.
  if (state.isClean &&
      (!survey.atStake().contains(path) || state.presence.print.size > PathSurvey::kLargestFile))
    return Item::Kind::Clean;
  if (survey.unkeepable().contains(path)) return Item::Kind::Lost;
  if (state.presence.kind == WorkingFiles::Kind::File) return Item::Kind::File;
  return state.presence.kind == WorkingFiles::Kind::Link ? Item::Kind::Link : Item::Kind::Missing;
}

// Writes one record.
class Keeper {
 public:
  Keeper(const GitCommand& git, const WorkingCopy& workingCopy, const PathPlan& plan,
         const PathSurvey& survey)
      : git_(git),
        workingCopy_(workingCopy),
        plan_(plan),
        survey_(survey),
        files_(workingCopy.root),
        scratch_(workingCopy.gitDirectory) {}

  Result<std::string> commit(const std::string& label);

 private:
  bool addItems();
  bool addState(const std::string& label);
  bool addContent(std::string name, std::string_view content);
  void addFile(std::string name, std::string_view mode, const std::string& file);
  bool hashFiles();
  std::string write(const std::string& label);
  bool fail(std::string why) {
    problem_ = std::move(why);
    return false;
  }

  const GitCommand& git_;
  const WorkingCopy& workingCopy_;
  const PathPlan& plan_;
  const PathSurvey& survey_;
  WorkingFiles files_;
  Scratch scratch_;
  std::string problem_;
  std::string paths_;                // of files to be hashed, for git
  std::vector<std::string> places_;  // "mode" and where in the tree, for each of them
  std::string entries_;              // of the tree, for git
  std::vector<std::string> parents_;
};

Result<std::string> Keeper::commit(const std::string& label) {
  std::string oid;
  if (!scratch_.exists())
    problem_ = "There is no room in " + workingCopy_.gitDirectory + ".";
  else if (addItems() && addState(label) && hashFiles())
    oid = write(label);
  if (oid.empty()) return Problem{std::move(problem_)};
  return oid;
}

void Keeper::addFile(std::string name, std::string_view mode, const std::string& file) {
  paths_ += inQuotes(file) + "\n";
  places_.push_back(std::string(mode) + "\t" + std::move(name));
}

bool Keeper::addContent(std::string name, std::string_view content) {
  const std::string file = scratch_.write(content);
  if (file.empty()) return fail("There is no room in " + workingCopy_.gitDirectory + ".");
  addFile(std::move(name), "100644", file);
  return true;
}

bool Keeper::addItems() {
  std::string manifest;
  for (const auto& [path, target] : plan_.targets) {
    const PathSurvey::State& state = survey_.at(path);
    const Item::Kind kind = kindOf(path, plan_, survey_);
    const std::string name = std::string(kFiles) + path;
    if (kind == Item::Kind::File) {
      const bool executable = (state.presence.print.mode & 0100U) != 0;
      addFile(name, executable ? "100755" : "100644", workingCopy_.root + "/" + path);
    } else if (kind == Item::Kind::Link) {
      const std::optional<std::string> to = files_.linkTarget(path);
      const std::string file = to ? scratch_.write(*to) : std::string();
      if (file.empty()) return fail("\"" + path + "\" cannot be put aside.");
      addFile(name, "120000", file);
    }
    for (const IndexEntry& each : state.index)
      entries_ += each.entry.mode + " " + each.entry.oid + "\t" + std::string(kIndex) +
                  std::to_string(each.stage) + "/" + path + '\0';
    manifest += static_cast<char>(kind);
    manifest += " " + std::to_string(state.presence.print.mode & 07777U) + " " +
                (state.isIntended ? "1 " : "0 ") +
                (target ? target->mode + " " + target->oid : "- -") + "\t" + path + '\0';
  }
  return addContent(std::string(kState) + std::string(kManifest), manifest);
}

bool Keeper::addState(const std::string& label) {
  const std::string state(kState);
  const std::string head =
      withoutLineEnd(git_.ask({"rev-parse", "--verify", "--quiet", "HEAD^{commit}"}).output);
  if (!head.empty()) parents_.push_back(head);
  if (!addContent(state + std::string(kLabel), label)) return false;
  if (!addContent(state + std::string(kHead), head)) return false;
  for (const std::string& name : KeptChanges::stateFiles()) {
    const auto content = contentOf(workingCopy_.gitDirectory + "/" + name);
    if (content && !addContent(state + name, *content)) return false;
    // A commit that is merged may be on no branch tomorrow.
    if (!content || name != "MERGE_HEAD") continue;
    for (std::size_t at = 0; at < content->size(); at = content->find('\n', at) + 1) {
      parents_.push_back(content->substr(at, content->find('\n', at) - at));
      if (content->find('\n', at) == std::string::npos) break;
    }
  }
  return true;
}

// Without filters: what the user had is kept byte for byte, and no program of the repository runs.
bool Keeper::hashFiles() {
  const ProgramResult hashed =
      git_.changeWith({"hash-object", "-w", "--no-filters", "--stdin-paths"}, {paths_, {}});
  if (!hashed.succeeded()) return fail(hashed.failure());
  std::string_view rest = hashed.output;
  for (const std::string& place : places_) {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) return fail("git did not take everything.");
    const std::size_t tab = place.find('\t');
    entries_ += place.substr(0, tab) + " " + std::string(rest.substr(0, end)) + place.substr(tab);
    entries_ += '\0';
    rest.remove_prefix(end + 1);
  }
  return true;
}

std::string Keeper::write(const std::string& label) {
  const Environment index = {{"GIT_INDEX_FILE", scratch_.path("index")}};
  const auto step = [&](const Arguments& arguments, std::string input, Environment environment) {
    const ProgramResult result =
        git_.changeWith(arguments, {std::move(input), std::move(environment)});
    if (!result.succeeded()) problem_ = result.failure();
    return result.succeeded() ? withoutLineEnd(result.output) : std::string();
  };
  step({"update-index", "-z", "--index-info"}, std::move(entries_), index);
  if (!problem_.empty()) return {};
  const std::string tree = step({"write-tree"}, {}, index);
  if (tree.empty()) return {};
  Arguments arguments = {"commit-tree", tree, "-m", "Before \"" + label + "\""};
  for (const std::string& parent : parents_) arguments.insert(arguments.end(), {"-p", parent});
  return step(arguments, {},
              {{"GIT_AUTHOR_NAME", "Kelpie"},
               {"GIT_AUTHOR_EMAIL", "kelpie@localhost"},
               {"GIT_COMMITTER_NAME", "Kelpie"},
               {"GIT_COMMITTER_EMAIL", "kelpie@localhost"}});
}

// Cuts the text before `mark` off `rest`; absent without a mark.
std::optional<std::string_view> cutUpTo(std::string_view& rest, char mark) {
  const std::size_t end = rest.find(mark);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view field = rest.substr(0, end);
  rest.remove_prefix(end + 1);
  return field;
}

template <class Number>
bool toNumber(std::string_view text, Number& number) {
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end;
}

// Reads one record. A repository's content may come from anyone.
class RecordReader {
 public:
  RecordReader(const GitCommand& git, KeptChanges::Record& record) : git_(git), record_(record) {}

  bool read();

 private:
  bool readTree(std::string_view listed);
  bool addEntry(std::string_view mode, const std::string& oid, std::uint64_t size,
                std::string_view path);
  bool readManifest(std::string_view text);
  std::optional<std::string> blob(const std::string& oid, std::uint64_t size) const;

  const GitCommand& git_;
  KeptChanges::Record& record_;
  struct Blob {
    std::string oid;
    std::uint64_t size = 0;
  };
  std::map<std::string, Blob, std::less<>> files_;
  std::map<std::string, std::vector<IndexEntry>, std::less<>> index_;
  std::map<std::string, Blob, std::less<>> state_;
};

bool RecordReader::read() {
  const ProgramResult listed = git_.ask({"ls-tree", "-r", "-l", "-z", "--full-tree", record_.oid});
  if (!listed.succeeded() || !readTree(listed.output)) return false;
  std::optional<std::string> manifest;
  for (const auto& [name, each] : state_) {
    std::optional<std::string> text = blob(each.oid, each.size);
    if (!text) return false;
    if (name == kManifest)
      manifest = std::move(text);
    else if (name == kLabel)
      record_.label = *text;
    else if (name == kHead)
      record_.head = *text;
    else
      record_.state.emplace(name, *text);
  }
  return manifest && readManifest(*manifest);
}

bool RecordReader::readTree(std::string_view listed) {
  // mode blank kind blank oid blanks size tab path NUL
  while (!listed.empty()) {
    const auto entry = cutUpTo(listed, '\0');
    if (!entry) return false;
    std::string_view rest = *entry;
    const auto fields = cutUpTo(rest, '\t');
    if (!fields) return false;
    std::string_view line = *fields;
    const auto mode = cutUpTo(line, ' ');
    const auto kind = cutUpTo(line, ' ');
    const auto oid = cutUpTo(line, ' ');
    if (!mode || !kind || !oid) return false;
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    std::uint64_t size = 0;
    if (line != "-" && !toNumber(line, size)) return false;
    if (!addEntry(*mode, std::string(*oid), size, rest)) return false;
  }
  return true;
}

bool RecordReader::addEntry(std::string_view mode, const std::string& oid, std::uint64_t size,
                            std::string_view path) {
  if (path.starts_with(kFiles)) {
    files_.emplace(path.substr(kFiles.size()), Blob{oid, size});
  } else if (path.starts_with(kIndex) && path.size() > kIndex.size() + 2) {
    const int stage = path[kIndex.size()] - '0';
    if (stage < 0 || stage > 3) return false;
    index_[std::string(path.substr(kIndex.size() + 2))].push_back(
        {{std::string(mode), oid}, stage});
  } else if (path.starts_with(kState)) {
    const std::string name(path.substr(kState.size()));
    const auto& known = KeptChanges::stateFiles();
    if (name == kManifest || name == kLabel || name == kHead ||
        std::ranges::find(known, name) != known.end())
      state_.emplace(name, Blob{oid, size});
  }
  return true;
}

bool RecordReader::readManifest(std::string_view text) {
  // kind blank permissions blank intended blank mode blank oid tab path NUL
  while (!text.empty()) {
    const auto line = cutUpTo(text, '\0');
    if (!line) return false;
    std::string_view rest = *line;
    Item item;
    const auto kind = cutUpTo(rest, ' ');
    const auto permissions = cutUpTo(rest, ' ');
    const auto intended = cutUpTo(rest, ' ');
    const auto mode = cutUpTo(rest, ' ');
    const auto oid = cutUpTo(rest, '\t');
    if (!kind || !permissions || !intended || !mode || !oid) return false;
    if (kind->size() != 1 || !toNumber(*permissions, item.mode)) return false;
    if (std::string_view("FLCMDX").find(kind->front()) == std::string_view::npos) return false;
    item.kind = static_cast<Item::Kind>(kind->front());
    item.isIntended = *intended == "1";
    if (*mode != "-") item.target = TreeEntry{std::string(*mode), std::string(*oid)};
    const std::string path(rest);
    if (!WorkingFiles::isSafe(path)) return false;
    if (const auto entries = index_.find(path); entries != index_.end())
      item.index = entries->second;
    if (item.kind == Item::Kind::File || item.kind == Item::Kind::Link) {
      const auto file = files_.find(path);
      if (file == files_.end()) return false;
      item.blob = file->second.oid;
      item.size = file->second.size;
    }
    record_.items.emplace(path, std::move(item));
  }
  return true;
}

std::optional<std::string> RecordReader::blob(const std::string& oid, std::uint64_t size) const {
  // As many paths as a working copy may have, and no more.
  if (size > (std::uint64_t{256} << 20U)) return std::nullopt;
  const ProgramResult read = git_.ask({"cat-file", "blob", oid});
  if (!read.succeeded()) return std::nullopt;
  return read.output;
}

}  // namespace

const std::vector<std::string>& KeptChanges::stateFiles() {
  static const std::vector<std::string> names = {"MERGE_HEAD",       "MERGE_MODE",  "MERGE_MSG",
                                                 "CHERRY_PICK_HEAD", "REVERT_HEAD", "SQUASH_MSG"};
  return names;
}

// The references are shared by all working trees, the records are not.
std::string KeptChanges::folder() const {
  std::string name = "main";
  if (workingCopy_.gitDirectory != workingCopy_.commonDirectory) {
    name = "linked-";
    for (const char each : fs::path(workingCopy_.gitDirectory).filename().string()) {
      const bool plain = (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
                         (each >= '0' && each <= '9');
      name += plain ? std::string(1, each)
                    : "_" + std::to_string(static_cast<unsigned char>(each)) + "_";
    }
  }
  return "refs/kelpie/kept/" + name + "/";
}

// The newest first.
std::vector<std::string> KeptChanges::references() const {
  const ProgramResult listed =
      git_.ask({"for-each-ref", "--sort=-refname", "--format=%(refname)", folder()});
  std::vector<std::string> names;
  std::string_view rest = listed.output;
  while (const auto line = cutUpTo(rest, '\n')) names.emplace_back(*line);
  return names;
}

Result<std::string> KeptChanges::keep(const std::string& label, const PathPlan& plan,
                                      const PathSurvey& survey) const {
  auto oid = Keeper(git_, workingCopy_, plan, survey).commit(label);
  if (!oid) return oid;
  std::vector<std::string> names = references();
  std::uint64_t number = 0;
  if (!names.empty()) toNumber(std::string_view{names.front()}.substr(folder().size()), number);
  std::string digits = std::to_string(number + 1);
  digits.insert(0, digits.size() < 8 ? 8 - digits.size() : 0, '0');
  // Only where there is none: another program may be at work, too.
  const ProgramResult named =
      git_.change({"update-ref", folder() + digits, *oid, std::string(oid->size(), '0')});
  if (!named.succeeded()) return Problem{named.failure()};
  for (std::size_t i = kMostRecords - 1; i < names.size(); ++i)
    git_.change({"update-ref", "-d", names[i]});
  return oid;
}

std::variant<std::optional<KeptChanges::Record>, std::string> KeptChanges::newest() const {
  const std::vector<std::string> names = references();
  if (names.empty()) return std::optional<Record>();
  Record record;
  record.reference = names.front();
  record.oid = withoutLineEnd(
      git_.ask({"rev-parse", "--verify", "--quiet", record.reference + "^{commit}"}).output);
  if (record.oid.empty() || !RecordReader(git_, record).read())
    return "What was put aside in " + record.reference + " cannot be read.";
  return std::optional<Record>(std::move(record));
}

bool KeptChanges::readBlobs(const std::vector<std::pair<std::string, std::uint64_t>>& blobs,
                            const std::function<bool(std::string_view)>& onBlob) const {
  for (std::size_t next = 0; next < blobs.size();) {
    std::string oids;
    const std::size_t first = next;
    for (std::uint64_t size = 0; next < blobs.size() && (next == first || size < kBatch); ++next) {
      size += blobs[next].second;
      oids += blobs[next].first + "\n";
    }
    const ProgramResult read = git_.ask({"cat-file", "--batch"}, oids);
    if (!read.succeeded()) return false;
    std::string_view rest = read.output;
    for (std::size_t i = first; i < next; ++i) {
      // oid blank kind blank size, a line; the content; a line end
      const auto line = cutUpTo(rest, '\n');
      std::uint64_t size = 0;
      if (!line || line->rfind(' ') == std::string_view::npos ||
          !toNumber(line->substr(line->rfind(' ') + 1), size) || size >= rest.size())
        return false;
      if (!onBlob(rest.substr(0, size))) return false;
      rest.remove_prefix(size + 1);
    }
  }
  return true;
}

ProgramResult KeptChanges::forget(const Record& record) const {
  return git_.change({"update-ref", "-d", record.reference, record.oid});
}

}  // namespace kelpie::agent
