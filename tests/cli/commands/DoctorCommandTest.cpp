#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "Configuration.h"
#include "agent/git/GitVersion.h"
#include "cli/CommandTest.h"
#include "cli/doctor/SystemChecks.h"
#include "support/Script.h"

namespace kelpie::cli {
namespace {

using nlohmann::json;

class DoctorCommandTest : public CommandTest {
 protected:
  // The findings about a topic.
  json about(const std::string& topic) {
    json found = json::array();
    for (const json& finding : json::parse(run({"doctor", "--json"}).out))
      if (finding["topic"] == topic) found.push_back(finding);
    return found;
  }
  // The one finding about it.
  json only(const std::string& topic) {
    const json found = about(topic);
    EXPECT_EQ(found.size(), 1U) << found;
    return found.empty() ? json() : found[0];
  }
  // A program that prints a line, on a PATH that has nothing else.
  void install(const std::string& name, const std::string& line) {
    putScript(home / ("bin/" + name), "echo " + line + "\n");
    environment["PATH"] = home / "bin";
  }
};

TEST_F(DoctorCommandTest, WithoutABusThatIsAProblem) {
  const Result result = run({"doctor"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.out.starts_with("problem  session bus        cannot be reached: "))
      << result.out;
  EXPECT_NE(result.out.find("\n                            -> log in to a desktop session"),
            std::string::npos)
      << result.out;
}

TEST_F(DoctorCommandTest, TheHostLinkIsTried) {
  EXPECT_EQ(only("host link")["text"], "no socket, since the extension does not run");
  startExtension();
  EXPECT_EQ(only("host link")["text"],
            home / "runtime/kelpie/finder" + " answers, version 1; observed folders: 1");
}

TEST_F(DoctorCommandTest, TheRuntimeDirectoryIsForNobodyElse) {
  EXPECT_EQ(only("runtime directory")["level"], "good");
  const std::filesystem::path directory = home / "runtime/kelpie";
  std::filesystem::permissions(directory, std::filesystem::perms::all);
  EXPECT_EQ(only("runtime directory")["advice"], "chmod 700 " + directory.string());
  std::filesystem::remove(directory);
  EXPECT_EQ(only("runtime directory")["level"], "good") << "the programs make it";
  home.addFile("runtime/kelpie");
  EXPECT_EQ(only("runtime directory")["text"], directory.string() + " is no directory");
}

TEST_F(DoctorCommandTest, VersionsMustAgree) {
  // A program is looked for beside kelpie first.
  std::filesystem::create_directories(home / "bin");
  std::filesystem::copy_file(KELPIE_PROGRAM, home / "bin/kelpie");
  const auto find = [&] {
    for (const json& finding :
         json::parse(runProgram({home / "bin/kelpie", "doctor", "--json"}).out))
      if (finding["topic"] == "kelpie-agent") return finding;
    return json();
  };
  EXPECT_EQ(find()["text"], "is not installed");
  install("kelpie-agent", "0.0.7");
  EXPECT_EQ(find()["text"],
            home / "bin/kelpie-agent" + " has version 0.0.7, kelpie has " + std::string(kVersion));
  install("kelpie-agent", std::string(kVersion));
  EXPECT_EQ(find()["level"], "good");
  install("kelpie-agent", "1; exit 3");
  EXPECT_EQ(find()["text"], home / "bin/kelpie-agent" + " does not tell its version");
}

TEST_F(DoctorCommandTest, SettingsAndFoldersAreRead) {
  EXPECT_EQ(only("observed folders")["advice"], "kelpie folders add FOLDER");
  home.addFolder("one");
  run({"folders", "add", files, home / "one"});
  EXPECT_EQ(only("observed folders")["text"], "2 in the list");
  std::filesystem::remove(home / "one");
  EXPECT_EQ(about("observed folders")[0]["advice"], "kelpie folders remove " + home / "one");
  std::ofstream(home / "config/kelpie/group.org.kelpie.plist") << "something else";
  EXPECT_EQ(only("settings")["level"], "problem");
}

TEST_F(DoctorCommandTest, GitMustBeThereAndRecent) {
  EXPECT_EQ(only("git")["level"], "good");
  install("git", "git version 2.25.4");
  EXPECT_EQ(only("git")["text"], "git version 2.25.4 is too old");
  std::filesystem::remove(home / "bin/git");
  EXPECT_EQ(only("git")["advice"], "install git");
}

TEST_F(DoctorCommandTest, ADialogProgramIsLookedFor) {
  install("git", "git version 2.26.0");
  EXPECT_EQ(only("dialogs")["level"], "warning");
  install("kdialog", "");
  EXPECT_EQ(only("dialogs")["text"], home / "bin/kdialog");
}

TEST_F(DoctorCommandTest, TheGitThatIsConfiguredIsTheOneThatCounts) {
  home.addFile("config/kelpie/agent.conf", "[Git]\nProgram=/opt/no/such/git\n");
  EXPECT_EQ(only("git")["level"], "problem");
  EXPECT_EQ(only("git")["text"], "/opt/no/such/git does not run, and agent.conf names it");
}

TEST_F(DoctorCommandTest, ToolsThatActionsNeedAreNamedWithTheirPackages) {
  install("git", "git version 2.26.0");
  const auto advice = [&] {
    std::string all;
    for (const json& finding : about("tools"))
      if (finding["level"] == "warning") all += finding["advice"].get<std::string>() + "\n";
    return all;
  };
  EXPECT_EQ(advice(),
            "install the package git-gui\ninstall the package gitk\ninstall the package meld\n"
            "install the package xterm\ninstall the package xdg-utils\n");
  install("gitk", "");
  home.addFile("config/kelpie/agent.conf", "[Tools]\nterminal=mine -e\n");
  EXPECT_EQ(advice(),
            "install the package git-gui\ninstall the package meld\n"
            "install the package xdg-utils\n");
}

TEST_F(DoctorCommandTest, WhoAsksForPasswordsIsLookedFor) {
  EXPECT_TRUE(only("passwords")["text"].get<std::string>().ends_with("kelpie-askpass"));
  install("own", "");
  environment["SSH_ASKPASS"] = home / "bin/own";
  EXPECT_EQ(only("passwords")["text"], "asked for by " + home / "bin/own");
}

TEST(SystemChecks, GitVersions) {
  EXPECT_TRUE(SystemChecks::isGitRecent("git version 2.26.0"));
  EXPECT_TRUE(SystemChecks::isGitRecent("git version 2.39.5"));
  EXPECT_TRUE(SystemChecks::isGitRecent("git version 3.0.rc1"));
  EXPECT_FALSE(SystemChecks::isGitRecent("git version 2.9.9"));
  const std::string oldest = "git version " + agent::kOldestGit.text();
  EXPECT_TRUE(SystemChecks::isGitRecent(oldest)) << "what the main application works with";
  EXPECT_FALSE(SystemChecks::isGitRecent("git version 2"));
  EXPECT_FALSE(SystemChecks::isGitRecent("version 2.39.5"));
  EXPECT_FALSE(SystemChecks::isGitRecent("git version x.y"));
  EXPECT_FALSE(SystemChecks::isGitRecent(""));
}

}  // namespace
}  // namespace kelpie::cli
