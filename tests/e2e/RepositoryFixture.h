#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "e2e/ProcessHost.h"
#include "e2e/TestApplication.h"
#include "e2e/TestHost.h"
#include "foundation/Object.h"

namespace kelpie {

// A session with a folder that counts as a repository: the test, as the main application, says
// what its status is.
class RepositoryFixture : public testing::Test {
 protected:
  // The identifier that the path has in messages.
  static Object identifierOf(const std::string& path);

  // Makes `repository` with `file`, which is changed, in it.
  void addRepository();
  // Configures the folders that are observed.
  void chooseFolders(const std::vector<std::string>& paths);
  // The repository's status as a message holds it.
  Object status() const;
  // What the main application answers when it is asked for the repository: it, and its status.
  void answerWithRepository(TestApplication& application, const std::string& portName) const;

  ProcessHost session;
  std::string repository;
  std::string file;
};

}  // namespace kelpie
