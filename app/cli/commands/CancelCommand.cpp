#include "cli/commands/CancelCommand.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "cli/link/AgentClient.h"

namespace kelpie::cli {
namespace {

std::optional<std::uint64_t> numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

}  // namespace

int CancelCommand::run() {
  std::vector<std::uint64_t> numbers;
  for (const std::string& operand : arguments_.operands()) {
    const auto number = numberOf(operand);
    if (!number) {
      console_.complain(console_.printable(operand) + ": is no number of an action");
      return kUsage;
    }
    numbers.push_back(*number);
  }
  const bool all = arguments_.has("all");
  if (all != numbers.empty()) {
    console_.complain("cancel takes the NUMBERs of actions, or --all; see: kelpie actions");
    return kUsage;
  }
  const auto agent = AgentClient::connect();
  if (!agent) {
    console_.complain(console_.printable(agent.problem()));
    return kFailure;
  }
  if (all)
    for (const AgentClient::Action& action :
         agent->actions().value_or(std::vector<AgentClient::Action>()))
      numbers.push_back(action.id);
  int status = kSuccess;
  for (const std::uint64_t number : numbers) {
    // One of all of them may have ended meanwhile.
    if (agent->cancel(number).value_or(false) || all) continue;
    console_.complain("there is no action " + std::to_string(number));
    status = kFailure;
  }
  return status;
}

}  // namespace kelpie::cli
