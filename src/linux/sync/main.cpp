#include <cstddef>
#include <span>

#include "linux/sync/SyncProgram.h"

int main(int argc, char** argv) {
  const std::span<char* const> all(argv, static_cast<std::size_t>(argc));
  return kelpie::SyncProgram::main(all.empty() ? all : all.subspan(1));
}
