#include "agent/desktop/ToolCommands.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "agent/git/GitCommand.h"
#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

constexpr const char* kGroup = "Tools";
constexpr std::string_view kPathWords[] = {"%p", "%f"};

struct KeyFileUnref {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};
struct StringsFree {
  void operator()(gchar** strings) const { g_strfreev(strings); }
};

struct Placeholder {
  std::string_view name;
  std::string ToolCommands::Values::*value;
};
// Where one begins like another, the longer one comes first.
constexpr std::array<Placeholder, 6> kPlaceholders = {{
    {"%full", &ToolCommands::Values::fullName},
    {"%name", &ToolCommands::Values::name},
    {"%oid", &ToolCommands::Values::oid},
    {"%r", &ToolCommands::Values::root},
    {"%e", &ToolCommands::Values::configurationFolder},
    {"%u", &ToolCommands::Values::address},
}};

std::string pathFor(std::string_view placeholder, const std::string& path,
                    const ToolCommands::Values& values) {
  if (placeholder == "%p") return path;
  if (path == ".") return values.root;
  return values.root.ends_with('/') ? values.root + path : values.root + "/" + path;
}

// Appends what the placeholder at the beginning of `rest` stands for and cuts it off. False when it
// stands for nothing.
bool fillOne(std::string_view& rest, const ToolCommands::Values& values, std::string& into) {
  for (const Placeholder& each : kPlaceholders) {
    if (!rest.starts_with(each.name)) continue;
    rest.remove_prefix(each.name.size());
    into += values.*each.value;
    return !(values.*each.value).empty();
  }
  for (const std::string_view path : kPathWords) {
    if (!rest.starts_with(path)) continue;
    rest.remove_prefix(path.size());
    if (values.paths.empty()) return false;
    into += pathFor(path, values.paths.front(), values);
    return true;
  }
  into += '%';
  rest.remove_prefix(rest.starts_with("%%") ? 2 : 1);
  return true;
}

}  // namespace

std::string ToolCommands::key(std::string_view action) {
  return std::string(action.substr(0, action.find(':')));
}

ToolCommands ToolCommands::read(const std::string& file, std::vector<std::string>& problems) {
  ToolCommands commands;
  const std::unique_ptr<GKeyFile, KeyFileUnref> keys(g_key_file_new());
  GError* error = nullptr;
  if (g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, &error) == FALSE) {
    const GErrorPtr why(error);
    if (g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT) == FALSE)
      problems.push_back(file + ": " + error->message);
    return commands;
  }
  const std::unique_ptr<gchar*, StringsFree> names(
      g_key_file_get_keys(keys.get(), kGroup, nullptr, nullptr));
  for (gchar** name = names.get(); name != nullptr && *name != nullptr; ++name) {
    const GCharPtr line(g_key_file_get_string(keys.get(), kGroup, *name, nullptr));
    gint count = 0;
    gchar** words = nullptr;
    if (line == nullptr || g_shell_parse_argv(line.get(), &count, &words, nullptr) == FALSE) {
      problems.push_back(file + ": the command of \"" + *name + "\" cannot be understood");
      continue;
    }
    const std::unique_ptr<gchar*, StringsFree> held(words);
    commands.own_[key(*name)].assign(words, words + count);
  }
  return commands;
}

std::optional<std::vector<std::string>> ToolCommands::fill(const std::vector<std::string>& words,
                                                           const Values& values) {
  std::vector<std::string> filled;
  for (const std::string& word : words) {
    bool isPaths = false;
    for (const std::string_view placeholder : kPathWords) {
      if (word != placeholder) continue;
      isPaths = true;
      for (const std::string& path : values.paths)
        filled.push_back(pathFor(placeholder, path, values));
    }
    if (isPaths) continue;
    std::string text;
    for (std::string_view rest = word; !rest.empty();) {
      const std::size_t plain = std::min(rest.find('%'), rest.size());
      text += rest.substr(0, plain);
      rest.remove_prefix(plain);
      if (!rest.empty() && !fillOne(rest, values, text)) return std::nullopt;
    }
    filled.push_back(std::move(text));
  }
  return filled;
}

std::vector<std::string> ToolCommands::wordsOf(std::string_view command) {
  std::vector<std::string> words;
  while (!command.empty()) {
    const std::size_t end = std::min(command.find(' '), command.size());
    words.emplace_back(command.substr(0, end));
    command.remove_prefix(std::min(end + 1, command.size()));
  }
  return words;
}

const std::vector<std::string>* ToolCommands::own(std::string_view action) const {
  const auto found = own_.find(key(action));
  return found == own_.end() ? nullptr : &found->second;
}

ProgramCall ToolCommands::callOf(std::vector<std::string> words, const Values& values) {
  ProgramCall call;
  call.arguments = std::move(words);
  call.folder = values.root;
  call.withoutVariables = GitCommand::repositoryVariables();
  call.environment = {{"GIT_TERMINAL_PROMPT", "0"}};
  call.outputMatters = false;
  return call;
}

std::optional<ProgramCall> ToolCommands::call(std::string_view action, std::string_view fallback,
                                              const Values& values) const {
  const auto own = own_.find(key(action));
  const std::vector<std::string> command = own != own_.end() ? own->second : wordsOf(fallback);
  std::optional<std::vector<std::string>> words = fill(command, values);
  if (!words || words->empty()) return std::nullopt;
  ProgramCall call = callOf(*std::move(words), values);
  // Only with paths: hooks inherit it, and a hook that uses patterns would find nothing.
  if (std::ranges::find(command, "%p") != command.end())
    call.environment.emplace_back("GIT_LITERAL_PATHSPECS", "1");
  return call;
}

}  // namespace kelpie::agent
