#include "CommandTest.h"

#include <filesystem>
#include <optional>

namespace kelpie::cli {

CommandTest::CommandTest() : files(home.addFolder("files")) {
  home.addFolder("runtime/kelpie");
  std::filesystem::permissions(home / "runtime/kelpie", std::filesystem::perms::owner_all);
  environment = {{"HOME", home.path()},
                 {"XDG_RUNTIME_DIR", home / "runtime"},
                 {"XDG_CONFIG_HOME", home / "config"},
                 {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home / "no-bus"},
                 {"PATH", "/usr/bin:/bin"},
                 {"LC_ALL", "C.UTF-8"},
                 {"NO_COLOR", std::nullopt},
                 {"SSH_ASKPASS", std::nullopt}};
  extension.welcome["directories"].push_back("file://" + files + "/");
}

void CommandTest::startExtension() { extension.start(home / "runtime/kelpie/finder"); }

CommandTest::Result CommandTest::run(const std::vector<std::string>& words) {
  std::vector<std::string> all = {KELPIE_PROGRAM};
  all.insert(all.end(), words.begin(), words.end());
  return runProgram(all);
}

CommandTest::Result CommandTest::runProgram(const std::vector<std::string>& words) {
  const auto process = startProgram(words);
  const std::optional<int> status = process->waitForEnd();
  EXPECT_TRUE(status) << "it does not end";
  return {status.value_or(-1), process->output(), process->errors()};
}

std::unique_ptr<ChildProcess> CommandTest::start(const std::vector<std::string>& words) {
  std::vector<std::string> all = {KELPIE_PROGRAM};
  all.insert(all.end(), words.begin(), words.end());
  return startProgram(all);
}

std::unique_ptr<ChildProcess> CommandTest::startProgram(const std::vector<std::string>& words) {
  std::vector<std::string> all = {"/bin/sh", "-c", "cd \"$0\" && exec \"$@\"", files};
  all.insert(all.end(), words.begin(), words.end());
  return std::make_unique<ChildProcess>(all, environment);
}

}  // namespace kelpie::cli
