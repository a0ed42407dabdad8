#include "agent/AgentConfiguration.h"

#include <glib.h>

#include <memory>

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
  if (g_key_file_has_key(keys.get(), "Folders", "WorkingCopies", nullptr) == FALSE)
    return configuration;
  raw = nullptr;
  const guint64 neighbours = g_key_file_get_uint64(keys.get(), "Folders", "WorkingCopies", &raw);
  const GErrorPtr noNumber(raw);
  if (noNumber != nullptr)
    problems.push_back(file + ": [Folders] WorkingCopies is no number");
  else
    configuration.neighbours = neighbours;
  return configuration;
}

}  // namespace kelpie::agent
