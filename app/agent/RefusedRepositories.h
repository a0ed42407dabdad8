#pragma once

#include <string>

#include "platform/Log.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/WithheldPrograms.h"

namespace kelpie::agent {

// Keeps the file in which `kelpie doctor` finds the repositories that are not opened, and why. Main
// thread.
class RefusedRepositories {
 public:
  // `file` is that of kRefusedRepositoriesFile; entries of a former agent are removed. `log`
  // outlives this.
  RefusedRepositories(DefaultsFile file, Log& log);

  // The folder was looked at: why it is not opened (bytes), or empty when it may be opened now.
  void looked(const std::string& folder, const std::string& failure);

 private:
  const DefaultsFile file_;
  Log& log_;
  WithheldPrograms refused_;
};

}  // namespace kelpie::agent
