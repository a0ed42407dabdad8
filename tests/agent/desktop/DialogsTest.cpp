#include "agent/desktop/Dialogs.h"

#include <gtest/gtest.h>

#include <string_view>

#include "agent/actions/ActionFixture.h"

namespace kelpie::agent {
namespace {

using End = Dialogs::End;

class DialogsTest : public ActionFixture {
 protected:
  void SetUp() override {}
  // Nothing is on PATH but what the test puts there, and what scripts need.
  void useKdialog(std::string_view body) {
    sandbox.remove("bin/zenity");
    sandbox.writeScript("bin/kdialog",
                        "printf '%s\\n' \"$@\" >> \"$KELPIE_SANDBOX/asked\"\n" + std::string(body));
  }
  bool wasAsked(const std::string& line) const {
    return ("\n" + asked()).find("\n" + line + "\n") != std::string::npos;
  }
};

TEST_F(DialogsTest, ConsentIsOnlyWhatTheUserGives) {
  answer({"yes", "no"});
  EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Answered);
  EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Cancelled);
  EXPECT_TRUE(wasAsked("--ok-label=Delete"));
  EXPECT_TRUE(wasAsked("--text=Sure?"));
}

TEST_F(DialogsTest, AProgramThatFailsGivesNoConsent) {
  for (const char* end :
       {"exit 5", "exit 255", "kill -9 $$", "echo 'cannot open display' >&2; exit 1"}) {
    sandbox.writeScript("bin/zenity", end);
    EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Unavailable) << end;
  }
}

TEST_F(DialogsTest, WithoutADisplayThereIsNoAsking) {
  answer({"yes", "yes"});
  removeDialogs();
  EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Unavailable);
  EXPECT_EQ(Dialogs::ask("Name:", "").end, End::Unavailable);
  sandbox.setVariable("WAYLAND_DISPLAY", "wayland-0");
  EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Answered);
}

TEST_F(DialogsTest, WithoutAProgramThereIsNoAsking) {
  sandbox.setVariable("PATH", sandbox.path("empty"));
  EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Unavailable);
  EXPECT_EQ(Dialogs::ask("Name:", "").end, End::Unavailable);
  EXPECT_EQ(Dialogs::choose("Which?", {"a"}).end, End::Unavailable);
  EXPECT_EQ(Dialogs::openFile("Open", "/").end, End::Unavailable);
  EXPECT_EQ(Dialogs::saveFile("Save", "/x").end, End::Unavailable);
  EXPECT_EQ(Dialogs::tell("Text").end, End::Unavailable);
}

TEST_F(DialogsTest, ATextComesWithoutBlanksAroundIt) {
  answer({"  some name "});
  const Dialogs::Answer given = Dialogs::ask("Name:", "initial");
  EXPECT_EQ(given.end, End::Answered);
  EXPECT_EQ(given.text, "some name");
  EXPECT_TRUE(wasAsked("--entry-text=initial"));
}

TEST_F(DialogsTest, AnEmptyTextCountsAsCancelled) {
  sandbox.writeScript("bin/zenity", "echo '  '; exit 0");
  EXPECT_EQ(Dialogs::ask("Name:", "").end, End::Cancelled);
}

TEST_F(DialogsTest, AChoiceIsOneOfThoseOffered) {
  answer({"1", "2", "x", "-1", "18446744073709551616"});
  const Dialogs::Answer given = Dialogs::choose("Which?", {"first", "second"});
  EXPECT_EQ(given.end, End::Answered);
  EXPECT_EQ(given.choice, 1U);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(Dialogs::choose("Which?", {"first", "second"}).end, End::Cancelled);
  EXPECT_EQ(Dialogs::choose("Which?", {}).end, End::Unavailable);
}

TEST_F(DialogsTest, NamesThatAreNotUtf8AreShownAllTheSame) {
  answer({"yes"});
  EXPECT_EQ(Dialogs::confirm("Delete \"\xFF\"?", "Delete").end, End::Answered);
  EXPECT_TRUE(wasAsked("--text=Delete \"\\\\xff\"?"));
}

TEST_F(DialogsTest, KdialogServesWhereZenityIsMissing) {
  useKdialog("exit 0");
  EXPECT_EQ(Dialogs::confirm("Delete <b>\n&?", "Delete").end, End::Answered);
  EXPECT_TRUE(wasAsked("<qt>Delete &lt;b&gt;<br/>&amp;?</qt>")) << "a name is no markup";
  EXPECT_TRUE(wasAsked("--warningcontinuecancel"));
  for (const char* refusal : {"exit 1", "exit 2"}) {
    useKdialog(refusal);
    EXPECT_EQ(Dialogs::confirm("Sure?", "Delete").end, End::Cancelled);
  }
  useKdialog("echo typed");
  EXPECT_EQ(Dialogs::ask("Name:", "initial").text, "typed");
  EXPECT_EQ(Dialogs::openFile("Open", "/start").text, "typed");
  EXPECT_EQ(Dialogs::saveFile("Save", "/start").text, "typed");
  EXPECT_EQ(Dialogs::tell("Text").end, End::Answered);
  useKdialog("echo 1");
  EXPECT_EQ(Dialogs::choose("Which?", {"first", "second"}).choice, 1U);
}

}  // namespace
}  // namespace kelpie::agent
