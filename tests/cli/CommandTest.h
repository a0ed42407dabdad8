#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "FakeExtension.h"
#include "support/TemporaryFolder.h"
#include "support/linux/ChildProcess.h"

namespace kelpie::cli {

// Runs `kelpie` in a world of its own: no session bus, empty settings, a scripted extension that
// observes the folder `files`.
class CommandTest : public ::testing::Test {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  CommandTest();

  // Starts the extension; what it answers is set before.
  void startExtension();
  // Runs the program to its end.
  Result run(const std::vector<std::string>& words);
  std::unique_ptr<ChildProcess> start(const std::vector<std::string>& words);
  // Runs another program in the same world to its end.
  Result runProgram(const std::vector<std::string>& words);
  std::unique_ptr<ChildProcess> startProgram(const std::vector<std::string>& words);
  // A file or folder below `files`, and its URL.
  std::string path(std::string_view name) const { return files + '/' + std::string(name); }
  std::string url(std::string_view name) const { return "file://" + path(name); }

  TemporaryFolder home;
  std::string files;
  FakeExtension extension;
  ChildProcess::Environment environment;
};

}  // namespace kelpie::cli
