#include "CommandTest.h"

#include <filesystem>

namespace kelpie::cli {

CommandTest::CommandTest() : files(home.addFolder("files")) {
  home.addFolder("runtime/kelpie");
  std::filesystem::permissions(home / "runtime/kelpie", std::filesystem::perms::owner_all);
  environment = {{"HOME", home.path()},
                 {"XDG_RUNTIME_DIR", home / "runtime"},
                 {"XDG_CONFIG_HOME", home / "config"},
                 {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home / "no-bus"},
                 {"PATH", "/usr/bin:/bin"},
                 {"LC_ALL", "C.UTF-8"}};
  extension.welcome["directories"].push_back("file://" + files + "/");
}

void CommandTest::startExtension() { extension.start(home / "runtime/kelpie/finder"); }

CommandTest::Result CommandTest::run(const std::vector<std::string>& words) {
  const auto process = start(words);
  const int status = process->wait();
  return {status, process->out(), process->err()};
}

std::unique_ptr<KelpieProcess> CommandTest::start(const std::vector<std::string>& words) {
  std::vector<std::string> all = {KELPIE_PROGRAM};
  all.insert(all.end(), words.begin(), words.end());
  return std::make_unique<KelpieProcess>(all, environment, files);
}

}  // namespace kelpie::cli
