#include "agent/git/GitSandbox.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/Script.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

}  // namespace

GitSandbox::GitSandbox() {
  std::string pattern = (fs::temp_directory_path() / "kelpie-git-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "no temporary folder";
  root_ = fs::canonical(pattern).string();
  setVariable("HOME", root_);
  setVariable("XDG_CONFIG_HOME", root_ + "/.config");
  setVariable("GIT_CONFIG_GLOBAL", root_ + "/.gitconfig");
  setVariable("GIT_CONFIG_NOSYSTEM", "1");
  setVariable("GIT_CEILING_DIRECTORIES", fs::path(root_).parent_path().string());
  for (const char* who : {"AUTHOR", "COMMITTER"}) {
    setVariable(std::string("GIT_") + who + "_NAME", "Tester");
    setVariable(std::string("GIT_") + who + "_EMAIL", "tester@example.org");
    setVariable(std::string("GIT_") + who + "_DATE", "2024-01-01T00:00:00Z");
  }
  // Submodules come from folders on this disk.
  write(".gitconfig", "[protocol \"file\"]\n\tallow = always\n[init]\n\tdefaultBranch = main\n");
}

GitSandbox::~GitSandbox() {
  for (auto at = former_.rbegin(); at != former_.rend(); ++at)
    setenv(at->first.c_str(), at->second.c_str(), 1);
  for (const std::string& name : formerlyUnset_) unsetenv(name.c_str());
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

void GitSandbox::setVariable(const std::string& name, const std::string& value) {
  if (const char* before = std::getenv(name.c_str()))
    former_.emplace_back(name, before);
  else
    formerlyUnset_.push_back(name);
  setenv(name.c_str(), value.c_str(), 1);
}

ProgramResult GitSandbox::tryGit(std::string_view folder, const Arguments& arguments) const {
  ProgramCall call;
  call.arguments = {"git"};
  call.arguments.insert(call.arguments.end(), arguments.begin(), arguments.end());
  call.folder = path(folder);
  call.environment = {{"LC_ALL", "C"}, {"GIT_EDITOR", ":"}};
  return Subprocess::run(call);
}

std::string GitSandbox::git(std::string_view folder, const Arguments& arguments) const {
  ProgramResult result = tryGit(folder, arguments);
  std::string said;
  for (const std::string& argument : arguments) said += " " + argument;
  EXPECT_TRUE(result.succeeded()) << "git" << said << ": " << result.failure();
  if (result.output.ends_with('\n')) result.output.pop_back();
  return result.output;
}

std::string GitSandbox::sh(const std::string& script) const {
  ProgramCall call;
  call.arguments = {"sh", "-c", script};
  call.folder = root_;
  ProgramResult result = Subprocess::run(call);
  EXPECT_TRUE(result.succeeded()) << script << ": " << result.failure();
  if (result.output.ends_with('\n')) result.output.pop_back();
  return result.output;
}

void GitSandbox::init(std::string_view folder) const {
  makeFolder(folder);
  git(folder, {"init", "-q", "-b", "main"});
}

void GitSandbox::commitAll(std::string_view folder, std::string_view message) const {
  git(folder, {"add", "-A"});
  git(folder, {"commit", "-q", "--allow-empty", "-m", std::string(message)});
}

void GitSandbox::write(std::string_view relative, std::string_view content) const {
  const fs::path file(path(relative));
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream << content;
  stream.close();
  EXPECT_TRUE(stream) << file;
}

std::string GitSandbox::read(std::string_view relative) const {
  std::ifstream file(path(relative), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool GitSandbox::exists(std::string_view relative) const {
  return fs::exists(fs::symlink_status(path(relative)));
}

void GitSandbox::remove(std::string_view relative) const { fs::remove_all(path(relative)); }

void GitSandbox::makeFolder(std::string_view relative) const {
  fs::create_directories(path(relative));
}

void GitSandbox::writeScript(std::string_view relative, std::string_view body) const {
  putScript(path(relative), body);
}

}  // namespace kelpie::agent
