#include "harness/GitAnswers.h"

#include <utility>

namespace kelpie::agent {
namespace {

constexpr char kFailure = '\x15';

ProgramResult answerOf(TextPieces& pieces) {
  ProgramResult result;
  result.end = ProgramResult::End::Exited;
  if (!pieces.hasNext()) {
    result.status = 1;
    return result;
  }
  std::string text = pieces.next();
  if (!text.starts_with(kFailure)) {
    result.output = std::move(text);
    return result;
  }
  result.status = text.size() > 1 ? static_cast<unsigned char>(text[1]) : 1;
  if (text.size() > 2) result.errors = text.substr(2);
  return result;
}

}  // namespace

GitAnswers::GitAnswers(TextPieces& pieces, std::string folder)
    : folder_(std::move(folder)),
      runner_(std::make_shared<const ProgramRunner>(
          [&pieces](const ProgramCall& /*call*/, GCancellable* /*cancellable*/) {
            return answerOf(pieces);
          })) {}

GitCommand GitAnswers::git() const { return GitCommand("git", folder_).startedBy(runner_); }

}  // namespace kelpie::agent
