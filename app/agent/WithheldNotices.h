#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "agent/desktop/Notifier.h"
#include "foundation/ThreadBound.h"
#include "platform/Log.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/WithheldPrograms.h"

namespace kelpie::agent {

// Tells the user, once for each repository, that programs of its own are not run, and keeps the
// file in which `kelpie doctor` finds it. Main thread.
class WithheldNotices {
 public:
  // `file` is that of kWithheldProgramsFile; what a former agent has left in it goes. `log` and
  // `notifier` outlive this.
  WithheldNotices(DefaultsFile file, Log& log, Notifier& notifier);

  // What is not run of the repository at that root has changed; nothing when `programs` is empty.
  void changed(const std::string& root, const std::vector<std::string>& programs);

 private:
  void notify(const std::string& root, const std::vector<std::string>& programs);

  const DefaultsFile file_;
  Log& log_;
  Notifier& notifier_;
  WithheldPrograms withheld_;
  std::set<std::string> notified_;  // roots
  ThreadBound thread_;
};

}  // namespace kelpie::agent
