#include "cli/commands/HelpText.h"

#include <algorithm>
#include <cstddef>

namespace kelpie::cli {
namespace {

// Two columns: what it is, and what it does.
std::string row(std::string left, std::size_t width, std::string_view right) {
  left.resize(std::max(width, left.size()), ' ');
  return "  " + left + "  " + std::string(right) + '\n';
}

std::string optionName(const OptionInfo& option) {
  std::string text = "--" + std::string(option.name);
  if (option.value != ValueKind::None) text += '=' + std::string(option.placeholder);
  return text;
}

std::string choicesOf(const OptionInfo& option) {
  std::string text(option.help);
  for (std::size_t i = 0; i < option.choices.size(); ++i)
    text += (i == 0 ? "; one of " : ", ") + std::string(option.choices[i]);
  return text;
}

std::string synopsis(const CommandInfo& command, const FormInfo& form) {
  std::string text = "kelpie " + std::string(command.name);
  if (!form.verb.empty()) text += ' ' + std::string(form.verb);
  if (!command.options.empty()) text += " [OPTION...]";
  if (!form.operands.empty()) text += ' ' + std::string(form.operands);
  return text;
}

}  // namespace

std::string generalHelp() {
  std::string text =
      "Usage: kelpie COMMAND [ARGUMENT...]\n"
      "\n"
      "Shows the state of git working copies as a file manager would, carries out the\n"
      "commands of its menus, and changes the settings.\n"
      "\n"
      "Commands:\n";
  std::size_t width = 0;
  for (const CommandInfo& command : commandTable()) width = std::max(width, command.name.size());
  for (const CommandInfo& command : commandTable())
    text += row(std::string(command.name), width, command.summary);
  text +=
      "\n"
      "Options:\n"
      "  --help     print this, or the help of a command\n"
      "  --version  print the version\n"
      "\n"
      "Exit status: 0 when all was done, 1 when something could not be, 2 when the\n"
      "command line was wrong.\n";
  return text;
}

std::string commandHelp(const CommandInfo& command) {
  std::string text;
  for (const FormInfo& form : command.forms)
    text += (text.empty() ? "Usage: " : "       ") + synopsis(command, form) + '\n';
  text += '\n' + std::string(command.description) + '\n';
  if (!command.forms.front().verb.empty()) {
    text += "\nSubcommands:\n";
    std::size_t width = 0;
    for (const FormInfo& form : command.forms) width = std::max(width, form.verb.size());
    for (const FormInfo& form : command.forms)
      text += row(std::string(form.verb), width, form.help);
  }
  text += "\nOptions:\n";
  const std::string help = "--help";
  std::size_t width = help.size();
  for (const OptionInfo& option : command.options)
    width = std::max(width, optionName(option).size());
  for (const OptionInfo& option : command.options)
    text += row(optionName(option), width, choicesOf(option));
  return text + row(help, width, "print this");
}

std::string usageLine(const CommandInfo& command, std::string_view problem) {
  const std::string name(command.name);
  return name + ": " + std::string(problem) + "; see: kelpie " + name + " --help";
}

}  // namespace kelpie::cli
