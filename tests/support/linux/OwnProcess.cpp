#include "support/linux/OwnProcess.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

namespace kelpie {
namespace {

constexpr const char* kVariable = "KELPIE_TEST_PROCESS";

}  // namespace

std::unique_ptr<ChildProcess> startDisabledTest(const std::string& suiteAndName,
                                                ChildProcess::Environment environment) {
  environment.emplace(kVariable, std::string("1"));
  // This process may run a share of the tests, to which the other's only one need not belong.
  for (const char* share : {"GTEST_TOTAL_SHARDS", "GTEST_SHARD_INDEX"})
    environment.emplace(share, std::nullopt);
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  const std::vector<std::string> command = {self.string(), "--gtest_also_run_disabled_tests",
                                            "--gtest_filter=" + suiteAndName};
  return std::make_unique<ChildProcess>(command, environment);
}

bool isStartedAsProcess() { return std::getenv(kVariable) != nullptr; }

}  // namespace kelpie
