#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "CommandTest.h"
#include "TestPaths.h"
#include "cli/commands/CommandTable.h"
#include "cli/settings/Setting.h"

namespace kelpie::cli {
namespace {

using ManPageTest = CommandTest;

std::string pagePath(const std::string& name) {
  return KELPIE_SOURCE_DIR "/docs/man/" + name + ".1";
}

TEST_F(ManPageTest, ThePagesAreWellFormed) {
  for (const char* name : {"kelpie", "kelpie-sync", "kelpie-agent"}) {
    const Result result = runProgram({"mandoc", "-Tlint", "-Wwarning", pagePath(name)});
    EXPECT_EQ(result.status, 0) << name;
    EXPECT_EQ(result.out + result.err, "") << name;
  }
}

TEST_F(ManPageTest, ThePageHasEveryCommandOptionAndSetting) {
  std::stringstream text;
  text << std::ifstream(pagePath("kelpie")).rdbuf();
  const std::string page = text.str();
  for (const CommandInfo& command : commandTable()) {
    EXPECT_NE(page.find("\n.Ss kelpie " + std::string(command.name)), std::string::npos)
        << command.name;
    for (const OptionInfo& option : command.options)
      EXPECT_NE(page.find("Fl -" + std::string(option.name)), std::string::npos) << option.name;
    for (const FormInfo& form : command.forms)
      EXPECT_NE(page.find(' ' + std::string(form.verb)), std::string::npos) << form.verb;
  }
  for (const Setting& setting : Setting::table())
    EXPECT_NE(page.find("It Cm " + std::string(setting.name()) + '\n'), std::string::npos)
        << setting.name();
}

}  // namespace
}  // namespace kelpie::cli
