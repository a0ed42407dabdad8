#pragma once

#include <string>

namespace kelpie::cli {

// Completion scripts, made from the table of commands. They offer commands, subcommands, options,
// values that are known beforehand, files and folders. Any thread.
class CompletionScript {
 public:
  CompletionScript() = delete;

  static std::string bash();
  static std::string zsh();
  static std::string fish();
};

}  // namespace kelpie::cli
