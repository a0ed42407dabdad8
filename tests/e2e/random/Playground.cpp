#include "e2e/random/Playground.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace kelpie {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

bool isThere(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

// Names that a program may stumble over.
const std::vector<std::string>& unusualNames() {
  static const std::vector<std::string> names = {
      "new\nline",
      "-rf",
      "--",
      "quo\"te",
      "it's",
      " leading",
      "trailing ",
      "tab\there",
      "not \xFF\xFE utf-8",
      "cut \xE2\x80",
      "caf\xC3\xA9",
      "cafe\xCC\x81",
      "right \xE2\x80\xAE"
      "to left",
      "%@ %s %n",
      "%41%2F",
      "*",
      "[a-z]?",
      "!important",
      "#comment",
      "back\\slash",
      "a -> b",
      "bell\x07",
      "escape\x1B[31m",
      "delete\x7F",
      ".hidden",
      "bundle.app",
      "~",
      "$HOME",
      "`id`",
      "{a,b}",
      "...",
      "name \x0E.kelpieDeleted",
      "file:",
      "CON",
      "\xF0\x9F\x90\xAC",
      ":(glob)x",
      std::string(180, 'n'),
  };
  return names;
}

constexpr std::size_t kLongestFolder = 500;

constexpr std::array<const char*, 12> kUsualNames = {
    "readme.md", "main.cpp", "notes.txt", "data.csv", "index.html", "style.css",
    "a",         "b",        "lib",       "src",      "out",        "docs"};

}  // namespace

Playground::Playground(const GitSession& session, std::string root, Random& random)
    : session_(session), root_(std::move(root)), random_(random) {}

std::string Playground::operator/(std::string_view path) const {
  return path.empty() ? root_ : root_ + "/" + std::string(path);
}

// -- Choices --------------------------------------------------------------------------------------

// Not as the library distributes numbers, which may do it otherwise elsewhere.
std::size_t Playground::below(std::size_t count) {
  return static_cast<std::size_t>(random_() >> 11U) % count;
}

void Playground::walk(const std::string& folder, std::vector<std::string>* files,
                      std::vector<std::string>* folders) const {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(*this / folder, error)) {
    const std::string name = entry.path().filename();
    if (name == ".git") continue;
    const std::string path = folder.empty() ? name : folder + "/" + name;
    struct stat status = {};
    if (lstat(entry.path().c_str(), &status) != 0) continue;
    if (!S_ISDIR(status.st_mode)) {
      if (files != nullptr) files->push_back(path);
      continue;
    }
    // A repository of its own is not this one's.
    if (isThere(entry.path().string() + "/.git")) continue;
    if (folders != nullptr) folders->push_back(path);
    walk(path, files, folders);
  }
}

std::vector<std::string> Playground::files() const {
  std::vector<std::string> files;
  walk("", &files, nullptr);
  std::ranges::sort(files);
  return files;
}

std::vector<std::string> Playground::folders() const {
  std::vector<std::string> folders = {""};
  walk("", nullptr, &folders);
  std::ranges::sort(folders);
  return folders;
}

std::optional<std::string> Playground::aFile() {
  const std::vector<std::string> all = files();
  return all.empty() ? std::nullopt : std::optional(oneOf(all));
}

std::optional<std::string> Playground::aPlainFile() {
  std::vector<std::string> all = files();
  std::erase_if(all,
                [this](const std::string& path) { return fs::is_symlink(fs::path(*this / path)); });
  return all.empty() ? std::nullopt : std::optional(oneOf(all));
}

std::optional<std::string> Playground::aTrackedFile() {
  std::vector<std::string> all = list({"ls-files", "-z"});
  std::erase_if(all, [this](const std::string& path) { return !isThere(*this / path); });
  return all.empty() ? std::nullopt : std::optional(oneOf(all));
}

std::optional<std::string> Playground::aFolder() {
  std::vector<std::string> all = folders();
  all.erase(all.begin());
  return all.empty() ? std::nullopt : std::optional(oneOf(all));
}

std::string Playground::anyFolder() { return oneOf(folders()); }

std::string Playground::newPathIn(const std::string& folder) {
  // Not ever deeper.
  const std::string start = folder.empty() || folder.size() > kLongestFolder ? "" : folder + "/";
  std::string name =
      chance(50) ? oneOf(unusualNames()) : std::string(kUsualNames.at(below(kUsualNames.size())));
  while (isThere(*this / (start + name))) name += std::to_string(below(10));
  return start + name;
}

std::string Playground::text() {
  std::string text;
  for (std::size_t lines = 1 + below(8); lines > 0; --lines)
    text += "line " + std::to_string(below(1000)) + "\n";
  return text;
}

// -- Files ----------------------------------------------------------------------------------------

void Playground::write(const std::string& path, std::string_view content, bool append) const {
  std::ofstream(fs::path(*this / path),
                append ? std::ios::binary | std::ios::app : std::ios::binary)
      << content;
}

std::string Playground::read(const std::string& path) const {
  std::ifstream stream(fs::path(*this / path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void Playground::addFolder(const std::string& path) const {
  std::error_code error;
  fs::create_directories(fs::path(*this / path), error);
}

void Playground::remove(const std::string& path) const {
  std::error_code error;
  fs::remove_all(fs::path(*this / path), error);
}

bool Playground::rename(const std::string& from, const std::string& to) const {
  std::error_code error;
  fs::rename(fs::path(*this / from), fs::path(*this / to), error);
  return !error;
}

// -- Git ------------------------------------------------------------------------------------------

bool Playground::git(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {"git", "--literal-pathspecs", "-C", root_};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess process(command, session_.environment());
  return process.waitForEnd() == 0;
}

std::string Playground::ask(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {"git", "--literal-pathspecs", "--no-optional-locks", "-C",
                                      root_};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess process(command, session_.environment());
  process.waitForEnd();
  return process.output();
}

std::vector<std::string> Playground::list(const std::vector<std::string>& arguments) const {
  const std::string output = ask(arguments);
  std::vector<std::string> fields;
  for (std::size_t begin = 0; begin < output.size();) {
    const std::size_t end = std::min(output.find('\0', begin), output.size());
    fields.push_back(output.substr(begin, end - begin));
    begin = end + 1;
  }
  return fields;
}

bool Playground::settle() {
  for (const char* what : {"merge", "rebase", "cherry-pick", "revert"}) git({what, "--abort"});
  git({"add", "-A"});
  git({"commit", "-q", "--allow-empty", "-m", "Settled"});
  return ask({"status", "--porcelain", "-z"}).empty();
}

bool Playground::isUnderWay(std::string_view name) const {
  return isThere(*this / (".git/" + std::string(name)));
}

}  // namespace kelpie
