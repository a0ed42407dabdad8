#pragma once

#include "agent/actions/ActionRunner.h"
#include "agent/link/ActionHandler.h"
#include "foundation/ThreadBound.h"
#include "platform/Log.h"

namespace kelpie::agent {

// Turns the user's choices, which the extension sends, into actions. Main thread.
class MenuActions final : public ActionHandler {
 public:
  // Both outlive this.
  MenuActions(ActionRunner& runner, Log& log) : runner_(runner), log_(log) {}

  void handle(const Object& message, const RepositorySession* session) override;

 private:
  ActionRunner& runner_;
  Log& log_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
