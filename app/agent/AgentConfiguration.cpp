#include "agent/AgentConfiguration.h"

#include <glib.h>

#include <charconv>
#include <memory>
#include <string_view>
#include <system_error>

#include "linux/base/GLibPointers.h"

namespace kelpie::agent {
namespace {

struct KeyFileFree {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};

}  // namespace

// GLib's own notion of the folder follows the same rules.
std::string AgentConfiguration::file() {
  return std::string(g_get_user_config_dir()) + "/kelpie/agent.conf";
}

AgentConfiguration AgentConfiguration::read(const std::string& file,
                                            std::vector<std::string>& problems) {
  AgentConfiguration configuration;
  const std::unique_ptr<GKeyFile, KeyFileFree> keys(g_key_file_new());
  GError* raw = nullptr;
  const bool isRead =
      g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, &raw) != FALSE;
  const GErrorPtr error(raw);
  if (!isRead) {
    if (g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_NOENT) == FALSE)
      problems.push_back(file + ": " + error->message);
    return configuration;
  }
  const GCharPtr program(g_key_file_get_string(keys.get(), "Git", "Program", nullptr));
  if (program != nullptr && *program != '\0') configuration.gitProgram = program.get();
  const GCharPtr neighbours(g_key_file_get_string(keys.get(), "Folders", "WorkingCopies", nullptr));
  if (neighbours != nullptr) {
    const std::string_view text = neighbours.get();
    std::size_t number = 0;
    const auto [end, wrong] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (wrong == std::errc() && end == text.data() + text.size())
      configuration.neighbours = number;
    else
      problems.push_back(file + ": [Folders] WorkingCopies is no number");
  }
  return configuration;
}

}  // namespace kelpie::agent
