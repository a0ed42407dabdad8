#include <cstddef>
#include <span>

#include "agent/AgentProgram.h"

int main(int argc, char** argv) {
  const std::span<char* const> all(argv, static_cast<std::size_t>(argc));
  return kelpie::agent::AgentProgram::main(all.empty() ? all : all.subspan(1));
}
