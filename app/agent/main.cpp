#include <string>
#include <vector>

#include "agent/AgentProgram.h"

int main(int argc, char** argv) {
  return kelpie::agent::AgentProgram::run(std::vector<std::string>(argv + 1, argv + argc));
}
