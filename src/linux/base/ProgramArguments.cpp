#include "linux/base/ProgramArguments.h"

#include <cstdlib>
#include <iostream>

#include "Configuration.h"

namespace kelpie {
namespace {

constexpr int kUsageError = 2;

}  // namespace

int answerProgramArgument(std::string_view argument, std::string_view program,
                          std::string_view help) {
  if (argument == "--version") {
    std::cout << kVersion << '\n';
  } else if (argument == "--help") {
    std::cout << help;
  } else {
    std::cerr << program << ": unknown argument " << argument << "; try --help\n";
    return kUsageError;
  }
  std::cout.flush();
  return std::cout ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace kelpie
