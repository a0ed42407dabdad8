#include <clocale>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "cli/KelpieProgram.h"
#include "linux/base/SearchPath.h"

int main(int count, char** words) {
  kelpie::SearchPath::clean();
  // How characters are written, and nothing else of the locale.
  std::setlocale(LC_CTYPE, "");
  kelpie::cli::Console console(std::cout, std::cerr, kelpie::cli::Console::traitsOfProcess());
  kelpie::cli::Context context{console};
  try {
    return kelpie::cli::KelpieProgram(context).run({words + 1, words + count});
  } catch (const std::exception& failure) {
    console.complain(console.printable(failure.what()));
    return kelpie::cli::kFailure;
  }
}
