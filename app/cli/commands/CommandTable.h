#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace kelpie::cli {

class Arguments;
struct Context;

// The kind of an operand or of an option's value; decides how the shells complete it.
enum class ValueKind : std::uint8_t { None, Path, Folder, Title, Setting, Value, Number, Choice };

// One option of a command. All texts are ASCII.
struct OptionInfo {
  std::string_view name;  // without the dashes
  std::string_view help;
  ValueKind value = ValueKind::None;
  std::string_view placeholder = {};               // names the value in the help
  std::span<const std::string_view> choices = {};  // of ValueKind::Choice
};

// One way to call a command. A command with subcommands has one form for each.
struct FormInfo {
  std::string_view verb;      // the subcommand, or empty
  std::string_view operands;  // as the help shows them
  std::string_view help;      // what a subcommand does
  std::size_t least = 0;      // how many operands there must be
  std::size_t most = 0;       // and may be
  ValueKind first = ValueKind::None;
  ValueKind further = ValueKind::None;  // the second operand and those after it
  bool isDefault = false;               // the verb may be left out
};

// One command: all that the parser, the help and the shells' completions know of it.
struct CommandInfo {
  std::string_view name;
  std::string_view summary;      // one line
  std::string_view description;  // for the help; lines of 78 columns
  std::span<const OptionInfo> options;
  std::span<const FormInfo> forms;
  int (*run)(const Arguments& arguments, Context& context);
};

inline constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

// Every command, in the order of the help.
std::span<const CommandInfo> commandTable();
// Null when there is none of that name.
const CommandInfo* findCommand(std::string_view name);

}  // namespace kelpie::cli
