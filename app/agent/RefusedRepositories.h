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
  // `file` is that of kRefusedRepositoriesFile; what a former agent has left in it goes. `log`
  // outlives this.
  RefusedRepositories(DefaultsFile file, Log& log);

  // The folder was looked at: what speaks against opening it (bytes), or nothing does any more.
  void looked(const std::string& folder, const std::string& failure);

 private:
  const DefaultsFile file_;
  Log& log_;
  WithheldPrograms refused_;
};

}  // namespace kelpie::agent
