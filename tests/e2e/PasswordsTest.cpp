#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "e2e/ProgramsFixture.h"

namespace kelpie {
namespace {

// What git and ssh need to know is asked in a window, and nothing waits for a terminal.
class Passwords : public ProgramsFixture {
 protected:
  struct Result {
    int status;
    std::string out;
    std::string err;
  };

  // A server that asks as ssh does, with `question`, and lets in who answers "open sesame".
  void addServer(const std::string& question) {
    session.addProgram("ssh",
                       "for word in \"$@\"; do command=$word; done\n"
                       "case $SSH_ASKPASS_REQUIRE in force) ;; *) exit 255 ;; esac\n"
                       "answer=$(\"$SSH_ASKPASS\" '" +
                           question +
                           "') || {\n"
                           "  echo 'Permission denied (password).' >&2; exit 255; }\n"
                           "case $answer in 'open sesame'|yes) ;; *)\n"
                           "  echo 'Permission denied, please try again.' >&2; exit 255 ;; esac\n"
                           "eval \"exec $command\"\n");
    session.git("", {"init", "-q", "--bare", "origin.git"});
    session.git("r", {"remote", "add", "origin", "ssh://server" + (session.home() / "origin.git")});
    session.setVariable("SSH_ASKPASS", std::nullopt);
    session.setVariable("SSH_ASKPASS_REQUIRE", std::nullopt);
    session.setVariable("GIT_ASKPASS", std::nullopt);
    session.setVariable("GIT_SSH_COMMAND", std::nullopt);
  }
  Result push() {
    startWith(repository, file, "KPCurrentBadge");
    const auto process = session.start("kelpie", {"do", "Push/main", file});
    const auto status = process->waitForEnd();
    return {status.value_or(-1), process->output(), process->errors()};
  }

  const std::string repository = session.addRepository("r");
  const std::string file = repository + "/file.txt";
};

constexpr const char* kTypes = "echo \"$*\" >>\"$HOME/asked\"; echo 'open sesame'\n";

TEST_F(Passwords, APasswordIsAskedForHiddenAndKeptToGit) {
  addServer("tester@server password: ");
  session.addUser(kTypes);
  const Result result = push();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(session.git("origin.git", {"log", "-1", "--format=%s", "main"}), "First");
  EXPECT_NE(asked().find("--hide-text"), std::string::npos) << asked();
  EXPECT_NE(asked().find("tester@server password: "), std::string::npos) << asked();
  EXPECT_EQ((agent->errors() + result.out + result.err).find("sesame"), std::string::npos);
}

TEST_F(Passwords, AServersKeyIsConfirmed) {
  addServer(
      "The authenticity of host server cannot be established.\n"
      "Are you sure you want to continue connecting (yes/no/[fingerprint])? ");
  session.addUser(kSaysYes);
  const Result result = push();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(asked().find("--question"), std::string::npos) << asked();
  EXPECT_NE(asked().find("authenticity"), std::string::npos) << asked();
}

TEST_F(Passwords, AQuestionThatIsClosedCancelsTheAction) {
  addServer("tester@server password: ");
  session.addUser(kSaysNo);
  const Result result = push();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "kelpie: Push was cancelled\n");
  session.append("r/file.txt", "changed");
  EXPECT_TRUE(host().sees(file, "KPWorkdirModifiedBadge")) << "everything goes on";
}

TEST_F(Passwords, WithoutADisplayTheFailureSaysWhatIsMissing) {
  addServer("tester@server password: ");
  const Result result = push();
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("no way to ask for what is needed"), std::string::npos) << result.err;
}

TEST_F(Passwords, TheUsersOwnProgramComesFirst) {
  addServer("tester@server password: ");
  session.addUser(kSaysNo);
  session.addProgram("own-askpass", "echo 'open sesame'\n");
  session.setVariable("SSH_ASKPASS", session.home() / "bin/own-askpass");
  const Result result = push();
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(asked(), "");
}

}  // namespace
}  // namespace kelpie
