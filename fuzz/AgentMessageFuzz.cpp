#include <memory>
#include <string>
#include <string_view>

#include "agent/actions/ActionRequest.h"
#include "agent/actions/ActionRule.h"
#include "agent/desktop/Notifier.h"
#include "agent/link/ExtensionErrors.h"
#include "archive/KeyedUnarchiver.h"
#include "harness/FuzzTarget.h"
#include "harness/QuietLoop.h"
#include "harness/ReadingCost.h"

// What reaches the agent's port from anyone: an archived message that asks for an action or tells
// of an error, and the JSON text that comes when the port has failed.
namespace {

using namespace kelpie;
using namespace kelpie::agent;

constexpr ReadingCost::Limits kMessageLimits{
    .freeBytes = 200'000, .bytesPerByte = 128, .freeSteps = 60'000, .stepsPerByte = 200};

class QuietNotifier final : public Notifier {
 public:
  void notify(const std::string& title, const std::string& text) override {
    require(title.size() + text.size() < 100'000);
  }
  Key offer(const std::string& title, const std::string& text, Button /*button*/) override {
    notify(title, text);
    return 0;
  }
  void withdraw(Key /*key*/) override {}
};

void checkRequest(const ActionRequest& request) {
  for (const std::string& path : request.paths)
    require(path.starts_with('/') && path.find('\0') == std::string::npos);
  require(request.kind() != ActionKind::Repository || request.target.has_value());
}

void readAgentMessage(FuzzTarget::Input input) {
  const auto bytes = std::make_shared<const Bytes>(input.begin(), input.end());
  const ReadingCost cost;
  const Object message = KeyedUnarchiver::open(bytes);
  if (const auto request = ActionRequest::fromMessage(message)) checkRequest(*request);
  QuietLog log;
  QuietNotifier notifier;
  ExtensionErrors errors(log, notifier);
  (void)errors.show(message["KPMessageArgument"]);
  (void)errors.show(message);
  (void)errors.showJson(textOf(input));
  cost.check("AgentMessageFuzz", input.size(), kMessageLimits);
}

const FuzzTarget kAgentMessageFuzz("AgentMessageFuzz", readAgentMessage);

}  // namespace
