#pragma once

#include <map>
#include <memory>
#include <string>

#include "cli/commands/Arguments.h"
#include "cli/commands/FolderWatch.h"
#include "cli/commands/Interrupt.h"
#include "cli/link/BadgeCollector.h"
#include "cli/output/Context.h"
#include "cli/text/FilePath.h"

namespace kelpie::cli {

// `kelpie watch`: badges as they change. Main thread.
class WatchCommand {
 public:
  WatchCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console), context_(context) {}

  int run();

 private:
  enum class End { Interrupted, ExtensionGone, NotObserved };

  // Prints what one extension tells, for as long as it lives.
  End follow(ExtensionSession& session);
  // Wants the badges of the item, or of the folder and of what it holds.
  void wantAll(BadgeCollector& badges) const;
  void want(BadgeCollector& badges, const std::string& path) const;
  void print(const std::string& path, const std::string& badge);
  // Waits until the extension is back. Null when interrupted.
  std::unique_ptr<ExtensionSession> awaitReturn();

  const Arguments& arguments_;
  Console& console_;
  Context& context_;
  Interrupt interrupt_;
  FilePath::Place place_;
  std::map<std::string, std::string> printed_;  // badge identifiers by path; "" for none
};

}  // namespace kelpie::cli
