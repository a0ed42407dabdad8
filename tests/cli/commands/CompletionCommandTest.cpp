#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/CommandTest.h"

namespace kelpie::cli {
namespace {

// The scripts are loaded into the real shells, which then complete.
class CompletionCommandTest : public CommandTest {
 protected:
  // The script of a shell, in a file.
  std::string script(const std::string& shell) {
    const Result result = run({"completion", shell});
    EXPECT_EQ(result.status, 0);
    return home.addFile("completion." + shell, result.out);
  }
  // What a program prints, sorted by lines, in one line. It must not complain.
  std::string output(const std::vector<std::string>& words) {
    const Result result = runProgram(words);
    EXPECT_EQ(result.status, 0) << words.back();
    EXPECT_EQ(result.err, "") << words.back();
    std::istringstream text(result.out);
    std::set<std::string> lines;
    for (std::string line; std::getline(text, line);) {
      while (line.ends_with('\r')) line.pop_back();
      lines.insert(line.substr(0, line.find('\t')));
    }
    std::string all;
    for (const std::string& line : lines) all += (all.empty() ? "" : " ") + line;
    return all;
  }
  // What bash offers for the last of these words.
  std::string bash(const std::string& words) {
    return output({"bash", "--norc", "-u", "-c",
                   "source \"$0\"; COMP_WORDS=(" + words +
                       "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelpie; "
                       "(( ${#COMPREPLY[@]} )) && printf '%s\\n' \"${COMPREPLY[@]}\" || true",
                   script("bash")});
  }
  std::string fish(const std::string& line) {
    return output({"fish", "--no-config", "-c", "source $argv[1]; complete -C $argv[2]",
                   script("fish"), line});
  }
};

TEST_F(CompletionCommandTest, Bash) {
  home.addFile("files/sun.txt");
  home.addFolder("files/sub dir");
  EXPECT_EQ(bash("kelpie s"), "settings status");
  EXPECT_EQ(bash("kelpie status --"), "--changed --color= --help --json --wait=");
  EXPECT_EQ(bash("kelpie status --color a"), "always auto");
  EXPECT_EQ(bash("kelpie status --color = a"), "always auto");
  EXPECT_EQ(bash("kelpie menu --kind ="), "container items sidebar toolbar");
  EXPECT_EQ(bash("kelpie status su"), "sub dir sun.txt");
  EXPECT_EQ(bash("kelpie folders ''"), "add list remove");
  EXPECT_EQ(bash("kelpie folders add su"), "sub dir");
  EXPECT_EQ(bash("kelpie settings get m"), "menu-items menu-more-items");
  EXPECT_EQ(bash("kelpie settings set menu-items ''"), "");
  EXPECT_EQ(bash("kelpie do su"), "") << "a title";
  EXPECT_EQ(bash("kelpie do Stage su"), "sub dir sun.txt");
}

TEST_F(CompletionCommandTest, Fish) {
  home.addFile("files/sun.txt");
  home.addFolder("files/sub");
  EXPECT_EQ(fish("kelpie s"), "settings status");
  EXPECT_EQ(fish("kelpie status --"), "--changed --color --help --json --wait");
  EXPECT_EQ(fish("kelpie status --color a"), "always auto");
  EXPECT_EQ(fish("kelpie menu --kind="),
            "--kind=container --kind=items --kind=sidebar --kind=toolbar");
  EXPECT_EQ(fish("kelpie status su"), "sub/ sun.txt");
  EXPECT_EQ(fish("kelpie folders "), "add list remove");
  EXPECT_EQ(fish("kelpie folders add su"), "sub/");
  EXPECT_EQ(fish("kelpie settings get m"), "menu-items menu-more-items");
}

// zsh completes on a terminal only: it gets one of its own.
TEST_F(CompletionCommandTest, Zsh) {
  home.addFile("files/sun.txt");
  home.addFolder("files/sub");
  home.addFile("zsh/_kelpie", run({"completion", "zsh"}).out);
  // From a file: a terminal repeats what is typed, and that would pass for what is offered.
  home.addFile(".zshrc", R"zsh(
PS1= PS2=
unsetopt zle_bracketed_paste
fpath=($ZDOTDIR/zsh $fpath)
autoload -Uz compinit
compinit -u -d $ZDOTDIR/dump
zstyle ":completion:*" list-grouped false
# Prints what is offered, beside offering it.
compadd() {
  local a i
  for a in -O -A -D; do
    [[ ${@[(I)$a]} -ne 0 ]] && { builtin compadd "$@"; return }
  done
  local -a m
  builtin compadd -O m "$@"
  for i in $m; do print -r -- "OFFER:$i"; done
  builtin compadd "$@"
}
show() { zle complete-word; print -r -- DONE: }
zle -C complete-word .complete-word _main_complete
zle -N show
bindkey "^I" show
# The line editor is at work: what is typed from now on goes to it.
zle-line-init() { print READY: }
zle -N zle-line-init
)zsh");
  const std::string driver = home.addFile("driver.zsh", R"zsh(
zmodload zsh/zpty
# Asks a shell on a terminal of its own what it offers for a line.
zpty shell "TERM=dumb zsh -d -i"
zpty -r -m shell line "*READY:*"
zpty -n -w shell "$1"$'\t'
zpty -r -m shell line "*DONE:*"
print -r -- "$line" | grep -o 'OFFER:[^[:cntrl:]]*' | sed 's/OFFER://'
zpty -d shell
)zsh");
  environment["ZDOTDIR"] = home.path();
  const auto zsh = [&](const std::string& line) { return output({"zsh", "-f", driver, line}); };
  EXPECT_EQ(zsh("kelpie s"), "settings status");
  EXPECT_EQ(zsh("kelpie status --"), "--changed --color --help --json --wait");
  EXPECT_EQ(zsh("kelpie status --color=a"), "always auto");
  EXPECT_EQ(zsh("kelpie status su"), "sub sun.txt");
  EXPECT_EQ(zsh("kelpie folders "), "add list remove");
  EXPECT_EQ(zsh("kelpie folders add su"), "sub");
  EXPECT_EQ(zsh("kelpie settings get m"), "menu-items menu-more-items");
}

}  // namespace
}  // namespace kelpie::cli
