#include "cli/commands/CompletionScript.h"

#include <set>
#include <span>
#include <string_view>
#include <vector>

#include "cli/commands/CommandTable.h"
#include "cli/settings/Setting.h"

namespace kelpie::cli {
namespace {

// A word in single quotes, as all three shells read it.
std::string shellWord(std::string_view text, std::string_view quote = "'\\''") {
  std::string word = "'";
  for (const char letter : text)
    if (letter == '\'')
      word += quote;
    else
      word += letter;
  return word + '\'';
}

std::string joined(std::span<const std::string_view> words) {
  std::string text;
  for (const std::string_view word : words) text += (text.empty() ? "" : " ") + std::string(word);
  return text;
}

std::string settingNames() {
  std::string text;
  for (const Setting& setting : Setting::table())
    text += (text.empty() ? "" : " ") + std::string(setting.name());
  return text;
}

bool hasVerbs(const CommandInfo& command) { return !command.forms.front().verb.empty(); }

// Every option once: one that several commands have means the same in each.
std::vector<const OptionInfo*> allOptions() {
  std::vector<const OptionInfo*> options;
  std::set<std::string_view> names;
  for (const CommandInfo& command : commandTable()) {
    for (const OptionInfo& option : command.options)
      if (names.insert(option.name).second) options.push_back(&option);
  }
  return options;
}

// -- bash -----------------------------------------------------------------------------------------

constexpr std::string_view kBashStart = R"(# bash completion for kelpie

_kelpie() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
  local options='' verbs='' first='' further='' words='' position
  COMPREPLY=()
  # "=" is a word of its own.
  if [[ $cur == = ]]; then
    cur=''
  elif [[ $prev == = && COMP_CWORD -ge 2 ]]; then
    prev=${COMP_WORDS[COMP_CWORD-2]}
  fi
)";

constexpr std::string_view kBashEnd = R"(  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$cur")
    [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    return 0
  fi
  position=$((COMP_CWORD - 2))
  if [[ -n $verbs ]]; then
    if [[ $position -eq 0 ]]; then
      mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$cur")
      return 0
    fi
    position=$((position - 1))
  fi
  [[ $position -gt 0 ]] && first=$further
  case $first in
    path)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$cur")
      ;;
    folder)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$cur")
      ;;
    setting)
      mapfile -t COMPREPLY < <(compgen -W "$settings" -- "$cur")
      ;;
  esac
  return 0
}

complete -F _kelpie kelpie
)";

std::string_view bashKind(ValueKind kind) {
  switch (kind) {
    case ValueKind::Path:
      return "path";
    case ValueKind::Folder:
      return "folder";
    case ValueKind::Setting:
      return "setting";
    default:
      return "none";
  }
}

std::string bashOptions(const CommandInfo& command) {
  std::string text;
  for (const OptionInfo& option : command.options) {
    text += (text.empty() ? "--" : " --") + std::string(option.name);
    if (option.value != ValueKind::None) text += '=';
  }
  return text;
}

std::string bashValues() {
  std::string text = "  case $prev in\n";
  for (const OptionInfo* option : allOptions()) {
    if (option->value == ValueKind::None) continue;
    text += "    --" + std::string(option->name) + ")\n";
    if (!option->choices.empty())
      text += "      mapfile -t COMPREPLY < <(compgen -W " + shellWord(joined(option->choices)) +
              " -- \"$cur\")\n";
    text += "      return 0\n      ;;\n";
  }
  return text + "  esac\n";
}

std::string bashCommands() {
  std::string names;
  std::string cases;
  std::string forms;
  for (const CommandInfo& command : commandTable()) {
    const std::string name(command.name);
    names += name + ' ';
    std::string verbs;
    for (const FormInfo& form : command.forms) {
      verbs += (verbs.empty() ? "" : " ") + std::string(form.verb);
      forms += "    " + shellWord(name + (form.verb.empty() ? "" : " " + std::string(form.verb))) +
               ") first=" + std::string(bashKind(form.first)) +
               " further=" + std::string(bashKind(form.further)) + " ;;\n";
    }
    cases += "    " + name + ") options=" + shellWord(bashOptions(command)) +
             " verbs=" + shellWord(verbs) + " ;;\n";
  }
  return "  if [[ COMP_CWORD -eq 1 ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W " +
         shellWord(names + "--help --version") +
         " -- \"$cur\")\n    return 0\n  fi\n"
         "  local settings=" +
         shellWord(settingNames()) + "\n  case ${COMP_WORDS[1]} in\n" + cases +
         "  esac\n"
         "  words=${COMP_WORDS[1]}\n"
         "  [[ -n $verbs ]] && words+=\" ${COMP_WORDS[2]}\"\n"
         "  case $words in\n" +
         forms + "  esac\n";
}

// -- zsh ------------------------------------------------------------------------------------------

constexpr std::string_view kZshEnd = R"(  esac
}

if [[ ${funcstack[1]-} == _kelpie ]]; then
  _kelpie "$@"
else
  compdef _kelpie kelpie
fi
)";

// Text within an argument of _arguments or _describe, where some characters mean something.
std::string zshText(std::string_view text) {
  std::string escaped;
  for (const char letter : text) {
    if (letter == ':' || letter == '[' || letter == ']') escaped += '\\';
    escaped += letter;
  }
  return escaped;
}

std::string zshAction(ValueKind kind) {
  switch (kind) {
    case ValueKind::Path:
      return "file:_files";
    case ValueKind::Folder:
      return "folder:_files -/";
    case ValueKind::Setting:
      return "setting:(" + settingNames() + ")";
    case ValueKind::Title:
      return "title: ";
    default:
      return "value: ";
  }
}

std::string zshArguments(const CommandInfo& command, const FormInfo& form) {
  std::string text = "_arguments";
  for (const OptionInfo& option : command.options) {
    std::string word = "--" + std::string(option.name);
    if (option.value != ValueKind::None) word += '=';
    word += '[' + zshText(option.help) + ']';
    if (option.value != ValueKind::None)
      word += ':' + std::string(option.placeholder) + ":(" + joined(option.choices) + ")";
    text += ' ' + shellWord(word);
  }
  text += " '--help[print the help]'";
  if (form.most >= 1) text += ' ' + shellWord("1:" + zshAction(form.first));
  if (form.most > 1) text += ' ' + shellWord("*:" + zshAction(form.further));
  return text;
}

std::string zshDescribe(std::string_view what, const std::string& pairs) {
  return "local -a choices=(" + pairs + ")\n      _describe " + std::string(what) + " choices\n";
}

std::string zshCommand(const CommandInfo& command) {
  std::string text = "    " + std::string(command.name) + ")\n";
  if (!hasVerbs(command))
    return text + "      " + zshArguments(command, command.forms.front()) + "\n      ;;\n";
  std::string pairs;
  std::string cases;
  for (const FormInfo& form : command.forms) {
    pairs +=
        (pairs.empty() ? "" : " ") + shellWord(std::string(form.verb) + ':' + zshText(form.help));
    cases += "        " + std::string(form.verb) + ") " + zshArguments(command, form) + " ;;\n";
  }
  return text + "      if (( CURRENT == 2 )); then\n      " + zshDescribe("subcommand", pairs) +
         "      return\n      fi\n"
         "      shift words\n      (( CURRENT-- ))\n      case $words[1] in\n" +
         cases + "      esac\n      ;;\n";
}

// -- fish -----------------------------------------------------------------------------------------

std::string fishWord(std::string_view text) { return shellWord(text, "\\'"); }

std::string fishLine(const std::string& condition, const std::string& rest) {
  return "complete -c kelpie -n " + fishWord(condition) + ' ' + rest + '\n';
}

// The completions of an operand of that kind; empty when there are none.
std::string fishOperand(ValueKind kind) {
  switch (kind) {
    case ValueKind::Path:
      return "-F";
    case ValueKind::Folder:
      return "-a '(__fish_complete_directories)'";
    case ValueKind::Setting:
      return "-a " + fishWord(settingNames());
    default:
      return "";
  }
}

std::string fishForms(const CommandInfo& command, const std::string& seen) {
  std::string noVerb = seen + "; and not __fish_seen_subcommand_from";
  for (const FormInfo& form : command.forms) noVerb.append(" ").append(form.verb);
  std::string text;
  for (const FormInfo& form : command.forms) {
    const std::string verb(form.verb);
    std::string condition = seen;
    if (!verb.empty()) {
      text += fishLine(noVerb, "-a " + verb + " -d " + fishWord(form.help));
      condition += "; and __fish_seen_subcommand_from " + verb;
    }
    // After a title come paths, after the name of a setting its value.
    const ValueKind kind = form.first == ValueKind::Title ? form.further : form.first;
    const std::string operand = fishOperand(kind);
    if (!operand.empty()) text += fishLine(condition, operand);
  }
  return text;
}

std::string fishOption(const std::string& seen, const OptionInfo& option) {
  std::string rest = "-l " + std::string(option.name);
  if (option.value != ValueKind::None) rest += " -x";
  if (!option.choices.empty()) rest += " -a " + fishWord(joined(option.choices));
  return fishLine(seen, rest + " -d " + fishWord(option.help));
}

}  // namespace

std::string CompletionScript::bash() {
  return std::string(kBashStart) + bashValues() + bashCommands() + std::string(kBashEnd);
}

std::string CompletionScript::zsh() {
  std::string pairs;
  std::string cases;
  for (const CommandInfo& command : commandTable()) {
    pairs += (pairs.empty() ? "" : " ") +
             shellWord(std::string(command.name) + ':' + zshText(command.summary));
    cases += zshCommand(command);
  }
  return "#compdef kelpie\n\n_kelpie() {\n  if (( CURRENT == 2 )); then\n      " +
         zshDescribe("command", pairs) +
         "    return\n  fi\n"
         "  shift words\n  (( CURRENT-- ))\n  case $words[1] in\n" +
         cases + std::string(kZshEnd);
}

std::string CompletionScript::fish() {
  std::string text =
      "# fish completion for kelpie\n\n"
      "complete -c kelpie -f\n"
      "complete -c kelpie -n __fish_use_subcommand -l version -d 'print the version'\n"
      "complete -c kelpie -l help -d 'print the help'\n";
  for (const CommandInfo& command : commandTable()) {
    const std::string name(command.name);
    const std::string seen = "__fish_seen_subcommand_from " + name;
    text += "\ncomplete -c kelpie -n __fish_use_subcommand -a " + name + " -d " +
            fishWord(command.summary) + '\n';
    for (const OptionInfo& option : command.options) text += fishOption(seen, option);
    text += fishForms(command, seen);
  }
  return text;
}

}  // namespace kelpie::cli
