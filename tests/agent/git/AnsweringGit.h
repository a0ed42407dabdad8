#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/git/GitCommand.h"

namespace kelpie::agent {

// A git that is never started: its questions get these answers, in order, and fail when there is
// none left. One thread.
inline GitCommand answeringGit(const std::string& folder, std::vector<std::string> answers) {
  const auto next = std::make_shared<std::size_t>(0);
  const auto answer = [next, answers = std::move(answers)](const ProgramCall&, GCancellable*) {
    ProgramResult result;
    result.end = ProgramResult::End::Exited;
    result.status = *next < answers.size() ? 0 : 1;
    if (*next < answers.size()) result.output = answers[(*next)++];
    return result;
  };
  return GitCommand("git", folder).startedBy(std::make_shared<const ProgramRunner>(answer));
}

}  // namespace kelpie::agent
