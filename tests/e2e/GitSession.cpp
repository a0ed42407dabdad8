#include "e2e/GitSession.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "Configuration.h"
#include "TestPaths.h"
#include "foundation/Dictionary.h"
#include "platform/linux/Bookmark.h"
#include "protocol/MessageKeys.h"
#include "settings/SettingsKeys.h"
#include "support/Script.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kGitSettings =
    "[user]\n\tname = Tester\n\temail = tester@example.org\n"
    "[init]\n\tdefaultBranch = main\n"
    "[protocol \"file\"]\n\tallow = always\n"
    "[gc]\n\tauto = 0\n";

}  // namespace

GitSession::GitSession() {
  home().addFile(".gitconfig", kGitSettings);
  setVariable("GIT_CONFIG_NOSYSTEM", "1");
  setVariable("GIT_CONFIG_GLOBAL", std::nullopt);
  setVariable("GIT_CEILING_DIRECTORIES", fs::path(home().path()).parent_path());
  setVariable("PATH", (home() / "bin:") + std::getenv("PATH"));
}

// -- Repositories ---------------------------------------------------------------------------------

std::string GitSession::git(std::string_view folder,
                            const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {"git", "-C", fs::path(home().path()) / folder};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess process(command, environment());
  EXPECT_EQ(process.waitForEnd(), 0) << process.errors();
  std::string output = process.output();
  if (output.ends_with('\n')) output.pop_back();
  return output;
}

std::string GitSession::addRepository(const std::string& folder,
                                      std::initializer_list<std::string_view> files) const {
  std::string path = home().addFolder(folder);
  git(folder, {"init", "-q"});
  for (const std::string_view file : files)
    home().addFile(std::string(folder).append("/").append(file), "as committed\n");
  git(folder, {"add", "-A"});
  git(folder, {"commit", "-q", "--allow-empty", "-m", "First"});
  return path;
}

std::string GitSession::addSample(const std::string& folder) const {
  const std::string path = home() / folder;
  ChildProcess script({KELPIE_SOURCE_DIR "/scripts/sample-repository", path}, environment());
  EXPECT_EQ(script.waitForEnd(), 0) << script.errors();
  return path;
}

std::string GitSession::read(std::string_view file) const {
  std::ifstream stream(home() / file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void GitSession::append(std::string_view file, std::string_view line) const {
  std::ofstream(home() / file, std::ios::binary | std::ios::app) << line << '\n';
}

// -- Programs that the agent runs -----------------------------------------------------------------

void GitSession::addProgram(const std::string& name, std::string_view script) {
  putScript(home() / ("bin/" + name), script);
}

void GitSession::addUser(std::string_view script) {
  addProgram("zenity", script);
  setVariable("DISPLAY", ":none");
}

// -- The programs ---------------------------------------------------------------------------------

void GitSession::observe(const std::vector<std::string>& folders) const {
  Objects bookmarks;
  for (const std::string& folder : folders) bookmarks.emplace_back(Bookmark::make(folder).value());
  EXPECT_EQ(sharedDefaults().update([&](Dictionary& values) {
    values.set(kFoldersPathsKey, bookmarks);
    return true;
  }),
            std::nullopt);
}

std::unique_ptr<ChildProcess> GitSession::startAgent() {
  auto agent = start("kelpie-agent");
  const std::string port =
      std::string(kApplicationGroup).append(".").append(kApplicationPortComponent);
  EXPECT_TRUE(waitForSocket(runtime().portsFolder() + "/" + port)) << agent->errors();
  return agent;
}

testing::AssertionResult GitSession::hasLogged(ChildProcess& program, std::string_view text) {
  if (program.waitForErrors(text)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "the log is:\n" << program.errors();
}

std::vector<std::string> GitSession::sockets() const {
  std::vector<std::string> names;
  std::error_code none;
  for (const auto& entry : fs::recursive_directory_iterator(runtime().path(), none))
    if (entry.is_socket()) names.push_back(entry.path().filename());
  return names;
}

}  // namespace kelpie
