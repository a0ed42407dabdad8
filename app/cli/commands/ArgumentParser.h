#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cli/commands/Arguments.h"

namespace kelpie::cli {

// Reads the words of one command line. Options may stand anywhere; "--" ends them, and a number
// with a minus sign is not an option. Used once.
class ArgumentParser {
 public:
  explicit ArgumentParser(const CommandInfo& command) : command_(command) {}

  Arguments::Parsed parse(const std::vector<std::string>& words);

 private:
  // Each returns false when something is wrong, with `problem_` set.
  bool parseOption(const std::vector<std::string>& words, std::size_t& position);
  bool checkValue(const OptionInfo& option, std::string_view value);
  bool chooseForm();
  bool checkCount();

  const CommandInfo& command_;
  Arguments arguments_;
  std::string problem_;
};

}  // namespace kelpie::cli
