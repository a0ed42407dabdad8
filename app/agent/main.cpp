#include <cstddef>
#include <span>

#include "agent/AgentProgram.h"
#include "linux/base/SearchPath.h"

int main(int argc, char** argv) {
  kelpie::SearchPath::clean();
  const std::span<char* const> all(argv, static_cast<std::size_t>(argc));
  return kelpie::agent::AgentProgram::main(all.empty() ? all : all.subspan(1));
}
