#include "e2e/TestRepository.h"

#include <gtest/gtest.h>

namespace kelpie {

TestRepository::TestRepository(ProcessHost& processes, const std::string& name)
    : processes_(processes), name_(name), path_(processes.home().addFolder(name)) {
  prepare(processes);
  git({"init", "-q", "-b", "main"});
  write("tracked", "1\n");
  git({"add", "."});
  git({"commit", "-q", "-m", "one"});
}

void TestRepository::prepare(ProcessHost& processes) {
  processes.setVariable("GIT_CONFIG_NOSYSTEM", "1");
  processes.setVariable("GIT_CONFIG_GLOBAL", processes.home() / ".gitconfig");
  for (const char* who : {"AUTHOR", "COMMITTER"}) {
    processes.setVariable(std::string("GIT_") + who + "_NAME", "Tester");
    processes.setVariable(std::string("GIT_") + who + "_EMAIL", "tester@example.org");
  }
}

void TestRepository::git(const std::vector<std::string>& arguments) const {
  std::vector<std::string> command = {"git", "-C", path_};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess process(command, processes_.environment());
  EXPECT_EQ(process.waitForEnd(), 0) << arguments.front() << ": " << process.errors();
}

void TestRepository::write(std::string_view item, std::string_view content) const {
  processes_.home().addFile(name_ + "/" + std::string(item), content);
}

}  // namespace kelpie
