#include <cstddef>
#include <span>

#include "askpass/AskpassProgram.h"
#include "linux/base/SearchPath.h"

int main(int count, char** arguments) {
  kelpie::SearchPath::clean();
  const std::span<char* const> all(arguments, static_cast<std::size_t>(count));
  return kelpie::askpass::AskpassProgram::main(all.empty() ? all : all.subspan(1));
}
