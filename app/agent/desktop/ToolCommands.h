#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/Subprocess.h"

namespace kelpie::agent {

// The programs with which actions open their windows: those of the rules, or the user's own from
// the group [Tools] of the agent's configuration, where the key is the action ("blameItems") and
// the value a command line. Immutable; any thread.
class ToolCommands {
 public:
  ToolCommands() = default;
  // `file` is a GKeyFile; an absent file says nothing. Mistakes in it are added to `problems`, a
  // line each, and the rest counts.
  static ToolCommands read(const std::string& file, std::vector<std::string>& problems);

  // The values for the placeholders of a command.
  struct Values {
    std::string root;
    std::vector<std::string> paths;  // relative to the root
    std::string fullName;
    std::string name;
    std::string oid;
    std::string configurationFolder;
    std::string address;  // of a page on the web
  };

  // Whether the user has set a command for the action.
  bool isOverridden(std::string_view action) const { return own_.contains(key(action)); }
  // The user's own command of that key; null when there is none.
  const std::vector<std::string>* own(std::string_view action) const;
  // The program to start for the action, in the root. There is no shell: a word with a placeholder
  // stays one word. Absent when a placeholder of the command has no value.
  std::optional<ProgramCall> call(std::string_view action, std::string_view fallback,
                                  const Values& values) const;

  // The program with these words, in the root.
  static ProgramCall callOf(std::vector<std::string> words, const Values& values);

  // The words, which have single blanks between them, with the placeholders filled in.
  static std::optional<std::vector<std::string>> fill(const std::vector<std::string>& words,
                                                      const Values& values);
  static std::vector<std::string> wordsOf(std::string_view command);

 private:
  static std::string key(std::string_view action);

  std::map<std::string, std::vector<std::string>, std::less<>> own_;
};

}  // namespace kelpie::agent
