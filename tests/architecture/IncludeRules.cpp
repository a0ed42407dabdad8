#include "architecture/IncludeRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string_view>

#include "TestPaths.h"

namespace kelpie::architecture {
namespace {

struct Layer {
  std::string folder;             // where its files are
  std::string prefix;             // how its headers are included; empty: by no one else
  std::set<std::string> mayUse;   // prefixes of the layers that it may include, besides itself
  std::set<std::string> foreign;  // what it may use from outside the project: "posix", "gio", …
};

// The row "folder : uses" of the table.
Layer layerOfRow(const std::string& row) {
  Layer layer;
  std::istringstream words(row);
  std::string colon;
  words >> layer.folder >> colon;
  EXPECT_EQ(colon, ":") << row;
  const std::size_t slash = layer.folder.find('/');
  if (slash != std::string::npos) layer.prefix = layer.folder.substr(slash + 1);
  std::string use;
  while (words >> use) {
    const bool isForeign = use.size() > 2 && use.front() == '<' && use.back() == '>';
    if (isForeign)
      layer.foreign.insert(use.substr(1, use.size() - 2));
    else
      layer.mayUse.insert(use);
  }
  return layer;
}

// The rows of cmake/layers.txt, which the libraries are made from as well. Of two rows that hold a
// file or a header, the one with the longer path counts.
std::vector<Layer> readLayers() {
  const std::string path = std::string(KELPIE_SOURCE_DIR) + "/cmake/layers.txt";
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  std::vector<Layer> table;
  std::string line;
  while (std::getline(in, line))
    if (!line.empty() && line.front() != '#') table.push_back(layerOfRow(line));
  return table;
}

const std::vector<Layer>& layers() {
  static const std::vector<Layer> table = readLayers();
  return table;
}

// The headers of the C++20 standard library. The C headers in their old form (<stdio.h>) are not
// among them: the core uses <cstdio> and its like.
const std::set<std::string_view>& standardHeaders() {
  static const std::set<std::string_view> table = {
      "algorithm",
      "any",
      "array",
      "atomic",
      "barrier",
      "bit",
      "bitset",
      "cassert",
      "cctype",
      "cerrno",
      "cfenv",
      "cfloat",
      "charconv",
      "chrono",
      "cinttypes",
      "climits",
      "clocale",
      "cmath",
      "compare",
      "complex",
      "concepts",
      "condition_variable",
      "coroutine",
      "csetjmp",
      "csignal",
      "cstdarg",
      "cstddef",
      "cstdint",
      "cstdio",
      "cstdlib",
      "cstring",
      "ctime",
      "cuchar",
      "cwchar",
      "cwctype",
      "deque",
      "exception",
      "execution",
      "filesystem",
      "format",
      "forward_list",
      "fstream",
      "functional",
      "future",
      "initializer_list",
      "iomanip",
      "ios",
      "iosfwd",
      "iostream",
      "istream",
      "iterator",
      "latch",
      "limits",
      "list",
      "locale",
      "map",
      "memory",
      "memory_resource",
      "mutex",
      "new",
      "numbers",
      "numeric",
      "optional",
      "ostream",
      "queue",
      "random",
      "ranges",
      "ratio",
      "regex",
      "scoped_allocator",
      "semaphore",
      "set",
      "shared_mutex",
      "source_location",
      "span",
      "sstream",
      "stack",
      "stdexcept",
      "stop_token",
      "streambuf",
      "string",
      "string_view",
      "strstream",
      "syncstream",
      "system_error",
      "thread",
      "tuple",
      "type_traits",
      "typeindex",
      "typeinfo",
      "unordered_map",
      "unordered_set",
      "utility",
      "valarray",
      "variant",
      "vector",
      "version",
  };
  return table;
}

// Headers that the build makes; everybody may include them. Others have the suffix that the Qt
// toolkit's own compiler gives them.
constexpr std::array<std::string_view, 1> kGeneratedHeaders = {"Configuration.h"};
constexpr std::string_view kGeneratedSuffix = ".moc";
// In angle brackets the toolkit's own, which looks as if it were of filemanagers/gtk.
constexpr std::string_view kToolkitHeader = "gtk/gtk.h";

bool isBelow(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

// The row with the longest `member` that holds `path`; null when none does.
const Layer* layerHolding(std::string_view path, std::string Layer::*member) {
  const Layer* best = nullptr;
  for (const Layer& layer : layers()) {
    const std::string& folder = layer.*member;
    if (folder.empty() || !isBelow(path, folder)) continue;
    if (best == nullptr || (best->*member).size() < folder.size()) best = &layer;
  }
  return best;
}

// Whether the layer belongs to a system of which no headers are listed here.
bool mayIncludeAnything(const Layer& layer) {
  return layer.foreign.contains("apple") || layer.foreign.contains("any");
}

struct Include {
  bool quoted = false;
  std::string name;
};

// Why `layer` may not include the project's header `name`; nothing when it may.
std::optional<std::string> quotedObjection(const Layer& layer, const std::string& name) {
  if (name.find("..") != std::string::npos)
    return "\"" + name + "\" is not a path from the include root";
  if (std::ranges::count(kGeneratedHeaders, name) > 0 || name.ends_with(kGeneratedSuffix))
    return std::nullopt;
  const Layer* target = layerHolding(name, &Layer::prefix);
  if (target == nullptr) {
    if (layer.prefix.empty()) return std::nullopt;  // a header of its own, in its own folder
    return "\"" + name + "\" is not a path from the include root";
  }
  if (target == &layer || layer.mayUse.contains(target->prefix)) return std::nullopt;
  return layer.folder + " must not include " + target->folder + " (\"" + name + "\")";
}

// The library that a header beyond the standard library's comes from, as the table names it.
std::string_view libraryOf(std::string_view header) {
  if (header.starts_with("nlohmann/")) return "json";
  if (header.starts_with("gio/") || header.starts_with("glib")) return "gio";
  return "posix";
}

std::optional<std::string> objection(const Layer& layer, const Include& include) {
  // A header of the project stays one when it is written in angle brackets.
  const bool isForeign = !include.quoted && include.name == kToolkitHeader;
  if (include.quoted || (!isForeign && layerHolding(include.name, &Layer::prefix) != nullptr))
    return quotedObjection(layer, include.name);
  if (standardHeaders().contains(include.name) || mayIncludeAnything(layer)) return std::nullopt;
  const std::string library(libraryOf(include.name));
  if (layer.foreign.contains(library)) return std::nullopt;
  return layer.folder + " must not include <" + include.name + ">, a header of <" + library + ">";
}

// What is wrong with one line of a file of `layer`.
std::optional<std::string> lineObjection(const Layer& layer, const std::string& line) {
  static const std::regex directive(R"(^\s*#\s*(include|import|include_next)\b\s*(.*)$)");
  static const std::regex named(R"re(^(?:"([^"]+)"|<([^>]+)>).*$)re");
  static const std::regex platformSwitch(
      R"(^\s*#\s*(if|ifdef|ifndef|elif)\b.*\b(__linux__|__linux|__unix__|__APPLE__|_WIN32)\b.*$)");
  std::smatch found;
  if (std::regex_match(line, found, directive)) {
    const std::string operand = found[2];
    std::smatch name;
    if (!std::regex_match(operand, name, named)) return "an include that names no file: " + line;
    return objection(layer, Include{name[1].matched, name[1].matched ? name[1] : name[2]});
  }
  if (layer.foreign.empty() && std::regex_match(line, platformSwitch))
    return "a switch on the operating system belongs to a layer of that system: " + line;
  return std::nullopt;
}

}  // namespace

std::vector<std::string> layerTableViolations() {
  std::set<std::string> names;
  std::vector<std::string> violations;
  for (const Layer& layer : layers())
    if (!names.insert(layer.folder).second) violations.push_back(layer.folder + " has two rows");
  for (const Layer& layer : layers())
    for (const std::string& use : layer.mayUse)
      if (!names.contains("src/" + use) && !names.contains("app/" + use) &&
          !names.contains("filemanagers/" + use))
        violations.push_back(layer.folder + " uses " + use + ", which has no row");
  return violations;
}

std::vector<std::string> includeViolations(const SourceFile& file) {
  const bool judged =
      isBelow(file.path, "src") || isBelow(file.path, "app") || isBelow(file.path, "filemanagers");
  if (!judged) return {};
  const Layer* layer = layerHolding(file.path, &Layer::folder);
  if (layer == nullptr) return {file.path + ":1: this folder is no layer; give it a rule"};

  std::vector<std::string> violations;
  std::istringstream lines(file.text);
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (const auto reason = lineObjection(*layer, line))
      violations.push_back(file.path + ":" + std::to_string(number) + ": " + *reason);
  }
  return violations;
}

std::vector<SourceFile> projectSources(const std::filesystem::path& root) {
  static const std::set<std::string> extensions = {".h", ".hpp", ".c", ".cpp", ".cc", ".m", ".mm"};
  std::vector<SourceFile> sources;
  for (const char* top : {"src", "app", "filemanagers"}) {
    if (!std::filesystem::exists(root / top)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / top)) {
      if (!entry.is_regular_file() || !extensions.contains(entry.path().extension().string()))
        continue;
      std::ifstream in(entry.path(), std::ios::binary);
      EXPECT_TRUE(in) << entry.path();
      sources.push_back({entry.path().lexically_relative(root).generic_string(),
                         std::string(std::istreambuf_iterator<char>(in), {})});
    }
  }
  std::ranges::sort(sources, {}, &SourceFile::path);
  return sources;
}

}  // namespace kelpie::architecture
