#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "agent/git/GitCommand.h"
#include "harness/TextPieces.h"

namespace kelpie::agent {

// Answers in the place of git: each question gets the next of the pieces. A piece that begins with
// \x15 is what a git that fails writes to its standard error, its status being the byte that
// follows. When the pieces are used up, git fails. One thread.
class GitAnswers {
 public:
  // What a record costs of itself, however short it is, counts as so many bytes.
  static constexpr std::size_t kBytesOfRecord = 4;

  // `pieces` outlives what git() returns.
  GitAnswers(TextPieces& pieces, std::string folder);

  // A git in the folder, which is never started.
  GitCommand git() const;

 private:
  std::string folder_;
  std::shared_ptr<const ProgramRunner> runner_;
};

}  // namespace kelpie::agent
