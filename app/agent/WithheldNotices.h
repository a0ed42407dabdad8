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

// Tells the user, once for each repository, that its own programs are not run, and keeps the file
// in which `kelpie doctor` finds it. Main thread.
class WithheldNotices {
 public:
  // `file` is that of kWithheldProgramsFile; entries of a former agent are removed. `log` and
  // `notifier` outlive this.
  WithheldNotices(DefaultsFile file, Log& log, Notifier& notifier);

  // The programs that are not run of the repository at that root have changed; empty when all are
  // run.
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
