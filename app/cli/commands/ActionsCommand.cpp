#include "cli/commands/ActionsCommand.h"

#include <chrono>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

#include "cli/link/AgentClient.h"
#include "cli/text/JsonText.h"

namespace kelpie::cli {

int ActionsCommand::run() {
  const auto agent = AgentClient::connect();
  const auto actions = agent ? agent->actions() : std::nullopt;
  if (!actions) {
    console_.complain(
        console_.printable(agent ? "the main application does not answer" : agent.problem()));
    return kFailure;
  }
  OrderedJson json = OrderedJson::array();
  for (const AgentClient::Action& action : *actions) {
    if (arguments_.has("json")) {
      OrderedJson entry;
      entry["number"] = action.id;
      entry["state"] = action.state;
      entry["milliseconds"] = action.age.count();
      entry["action"] = action.action;
      entry["label"] = action.label;
      entry["title"] = action.title;
      entry["folder"] = action.folder;
      json.push_back(std::move(entry));
      continue;
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(action.age).count();
    console_.out() << action.id << "  " << console_.printable(action.state) << "  " << seconds
                   << " s  " << console_.printable(action.label) << "  "
                   << console_.printable(action.folder) << '\n';
  }
  if (arguments_.has("json")) printJsonText(console_.out(), json);
  return kSuccess;
}

}  // namespace kelpie::cli
