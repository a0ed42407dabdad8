#include "agent/desktop/Askpass.h"

#include <glib.h>

#include <cstdlib>

#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

// Beside this program, where it is installed; else on PATH. Empty when it is nowhere.
std::string ownProgram() {
  const GCharPtr self(g_file_read_link("/proc/self/exe", nullptr));
  if (self != nullptr) {
    const GCharPtr folder(g_path_get_dirname(self.get()));
    const GCharPtr beside(g_build_filename(folder.get(), "kelpie-askpass", nullptr));
    if (g_file_test(beside.get(), G_FILE_TEST_IS_EXECUTABLE) == TRUE) return beside.get();
  }
  const GCharPtr found(g_find_program_in_path("kelpie-askpass"));
  return found == nullptr ? std::string() : std::string(found.get());
}

bool isSet(const char* name) { return std::getenv(name) != nullptr; }

// Whether the variable names a program that is there.
bool namesProgram(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value == '\0') return false;
  const GCharPtr found(g_find_program_in_path(value));
  return found != nullptr;
}

}  // namespace

// git looks at GIT_ASKPASS, then at core.askPass, and at SSH_ASKPASS last, which is what ssh looks
// at: so our own program stands there.
std::vector<std::pair<std::string, std::string>> Askpass::variables(std::uint64_t action) {
  std::vector<std::pair<std::string, std::string>> variables;
  variables.emplace_back(kActionVariable, std::to_string(action));
  if (!namesProgram("SSH_ASKPASS")) {
    const std::string program = ownProgram();
    if (program.empty()) return variables;
    variables.emplace_back("SSH_ASKPASS", program);
  }
  // Without it ssh looks for a terminal first, and an old one for DISPLAY.
  if (!isSet("SSH_ASKPASS_REQUIRE")) variables.emplace_back("SSH_ASKPASS_REQUIRE", "force");
  return variables;
}

}  // namespace kelpie::agent
