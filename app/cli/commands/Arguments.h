#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands/CommandTable.h"
#include "cli/output/Console.h"

namespace kelpie::cli {

// The arguments of one command, checked against the table of commands.
class Arguments {
 public:
  // The parsed command line.
  struct Parsed;

  // Reads the words after the name of the command.
  static Parsed parse(const CommandInfo& command, const std::vector<std::string>& words);

  std::string_view verb() const { return form_->verb; }
  const std::vector<std::string>& operands() const { return operands_; }
  bool has(std::string_view option) const { return options_.contains(option); }
  // The value of an option; `fallback` when it was not given.
  std::string_view value(std::string_view option, std::string_view fallback) const;
  // The value of --wait.
  std::chrono::milliseconds wait() const;
  // The value of --limit.
  std::chrono::milliseconds limit() const;
  // The value of --color.
  ColourChoice colour() const;

 private:
  const FormInfo* form_ = nullptr;
  std::vector<std::string> operands_;
  std::map<std::string, std::string, std::less<>> options_;

  friend class ArgumentParser;
};

struct Arguments::Parsed {
  Arguments arguments;
  bool wantsHelp = false;
  std::optional<std::string> problem;  // one line; the arguments mean nothing then
};

}  // namespace kelpie::cli
