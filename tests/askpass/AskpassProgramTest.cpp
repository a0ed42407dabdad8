#include "askpass/AskpassProgram.h"

#include <gtest/gtest.h>

namespace kelpie::askpass {
namespace {

using Kind = AskpassProgram::Kind;

TEST(AskpassProgram, WhatIsNotKnownToBeHarmlessIsASecret) {
  struct Case {
    const char* why;
    const char* question;
    const char* hint;
    Kind kind;
  };
  const Case cases[] = {
      {"git", "Username for 'https://example.org': ", "", Kind::Text},
      {"git", "Password for 'https://me@example.org': ", "", Kind::Secret},
      {"ssh", "Enter passphrase for key '/home/me/.ssh/id_ed25519': ", "", Kind::Secret},
      {"a server's own words", "Verification code: ", "", Kind::Secret},
      {"a new server", "Are you sure you want to continue connecting (yes/no/[fingerprint])? ", "",
       Kind::YesOrNo},
      {"asked again", "Please type 'yes', 'no' or the fingerprint: ", "", Kind::YesOrNo},
      {"a key of the agent", "Allow use of key /home/me/.ssh/id?", "confirm", Kind::Consent},
      {"a key to touch", "Confirm user presence for key", "none", Kind::Notice},
      {"nothing", "", "", Kind::Secret}};
  for (const Case& c : cases)
    EXPECT_EQ(AskpassProgram::kindOf(c.question, c.hint), c.kind) << c.why << ": " << c.question;
}

}  // namespace
}  // namespace kelpie::askpass
