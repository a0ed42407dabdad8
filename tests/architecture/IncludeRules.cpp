#include "architecture/IncludeRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string_view>

namespace kelpie::architecture {
namespace {

// Which headers beyond the project's own a folder may include.
enum class Foreign { kStandardLibraryOnly, kAny };

struct Layer {
  std::string_view folder;            // where its files are
  std::string_view prefix;            // how its headers are included; empty: by no one else
  std::set<std::string_view> mayUse;  // prefixes of the layers that it may include, besides itself
  Foreign foreign = Foreign::kStandardLibraryOnly;
};

// The arrows of docs/architecture.md, one row per folder. Of two rows that hold a file or a
// header, the one with the longer path counts.
const std::vector<Layer>& layers() {
  static const std::vector<Layer> table = {
      {"src/foundation", "foundation", {"platform"}},
      {"src/platform", "platform", {"foundation"}},
      {"src/settings", "settings", {"foundation", "platform"}},
      {"src/refs", "refs", {"foundation", "platform"}},
      {"src/status", "status", {"foundation", "platform", "settings", "refs"}},
      {"src/menus", "menus", {"foundation", "platform", "settings", "refs", "status"}},
      {"src/extension",
       "extension",
       {"foundation", "platform", "settings", "refs", "status", "menus"}},
      {"src/platform/linux",
       "platform/linux",
       {"foundation", "platform", "settings", "refs", "status", "menus", "extension"},
       Foreign::kAny},
      {"src/platform/macos",
       "platform/macos",
       {"foundation", "platform", "settings", "refs", "status", "menus", "extension"},
       Foreign::kAny},
      // The main application knows the extension by its messages only.
      {"app/agent",
       "agent",
       {"foundation", "platform", "platform/linux", "settings", "refs", "status"},
       Foreign::kAny},
      // The command line speaks the host link; the shared defaults it writes itself.
      {"app/cli", "cli", {"foundation", "platform", "platform/linux", "settings"}, Foreign::kAny},
      // What runs inside a file manager shares no code with the extension at all.
      {"filemanagers", "", {}, Foreign::kAny},
  };
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

// Headers that the build makes; everybody may include them.
constexpr std::array<std::string_view, 1> kGeneratedHeaders = {"Configuration.h"};

bool isBelow(std::string_view path, std::string_view folder) {
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

// The row with the longest `member` that holds `path`; null when none does.
const Layer* layerHolding(std::string_view path, std::string_view Layer::*member) {
  const Layer* best = nullptr;
  for (const Layer& layer : layers()) {
    const std::string_view folder = layer.*member;
    if (folder.empty() || !isBelow(path, folder)) continue;
    if (best == nullptr || (best->*member).size() < folder.size()) best = &layer;
  }
  return best;
}

struct Include {
  bool quoted = false;
  std::string name;
};

// Why `layer` may not include the project's header `name`; nothing when it may.
std::optional<std::string> quotedObjection(const Layer& layer, const std::string& name) {
  if (name.find("..") != std::string::npos)
    return "\"" + name + "\" is not a path from the include root";
  if (std::ranges::count(kGeneratedHeaders, name) > 0) return std::nullopt;
  const Layer* target = layerHolding(name, &Layer::prefix);
  if (target == nullptr) {
    if (layer.prefix.empty()) return std::nullopt;  // a header of its own, in its own folder
    return "\"" + name + "\" is not a path from the include root";
  }
  if (target == &layer || layer.mayUse.contains(target->prefix)) return std::nullopt;
  return std::string(layer.folder) + " must not include " + std::string(target->folder) + " (\"" +
         name + "\")";
}

std::optional<std::string> objection(const Layer& layer, const Include& include) {
  // A header of the project stays one when it is written in angle brackets.
  if (include.quoted || layerHolding(include.name, &Layer::prefix) != nullptr)
    return quotedObjection(layer, include.name);
  if (layer.foreign == Foreign::kAny || standardHeaders().contains(include.name))
    return std::nullopt;
  return std::string(layer.folder) + " must not include the system header <" + include.name + ">";
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
  if (layer.foreign == Foreign::kStandardLibraryOnly && std::regex_match(line, platformSwitch))
    return "a switch on the operating system belongs below src/platform: " + line;
  return std::nullopt;
}

}  // namespace

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
