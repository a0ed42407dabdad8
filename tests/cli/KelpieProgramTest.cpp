#include "cli/KelpieProgram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "CommandTest.h"
#include "Configuration.h"
#include "cli/commands/CommandTable.h"

namespace kelpie::cli {
namespace {

using KelpieProgramTest = CommandTest;

TEST_F(KelpieProgramTest, VersionIsTheVersionAndNothingElse) {
  const Result result = run({"--version"});
  EXPECT_EQ(result.out, std::string(kVersion) + "\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(KelpieProgramTest, EveryCommandHasHelpThatNamesItsOptions) {
  const std::string general = run({"--help"}).out;
  for (const CommandInfo& command : commandTable()) {
    const std::string name(command.name);
    EXPECT_NE(general.find("\n  " + name + " "), std::string::npos) << name;
    const Result result = run({name, "--help"});
    EXPECT_EQ(result.status, 0) << name;
    EXPECT_TRUE(result.out.starts_with("Usage: kelpie " + name)) << result.out;
    for (const OptionInfo& option : command.options)
      EXPECT_NE(result.out.find("  --" + std::string(option.name)), std::string::npos) << name;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 99U) << line;
  }
}

TEST_F(KelpieProgramTest, BadUsageIsOneLineAndStatusTwo) {
  const std::vector<std::vector<std::string>> lines = {{},
                                                       {"fly"},
                                                       {"fly\033[2J\n"},
                                                       {"status", "--fly"},
                                                       {"status", "--wait"},
                                                       {"status", "--wait=soon"},
                                                       {"status", "--wait=-1"},
                                                       {"status", "--wait=99999999999999999999"},
                                                       {"status", "--json=yes"},
                                                       {"status", "--color=pink"},
                                                       {"menu"},
                                                       {"menu", "--kind=desk", "."},
                                                       {"do", "Stage"},
                                                       {"folders"},
                                                       {"folders", "fly"},
                                                       {"folders", "list", "x"},
                                                       {"folders", "add"},
                                                       {"settings", "set", "menu-items"},
                                                       {"watch"},
                                                       {"watch", "a", "b"},
                                                       {"doctor", "x"},
                                                       {"completion", "csh"}};
  for (const auto& words : lines) {
    const Result result = run(words);
    const std::string line = words.empty() ? "nothing" : words.back();
    EXPECT_EQ(result.status, 2) << line;
    EXPECT_EQ(result.out, "") << line;
    EXPECT_TRUE(result.err.starts_with("kelpie: ")) << result.err;
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    EXPECT_EQ(result.err.find('\033'), std::string::npos) << line;
  }
}

TEST_F(KelpieProgramTest, OutputThatCannotBeWrittenIsAFailure) {
  const Result result =
      runProgram({"/bin/sh", "-c", "exec \"$0\" --help >/dev/full", KELPIE_PROGRAM});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: cannot write to standard output\n");
}

}  // namespace
}  // namespace kelpie::cli
