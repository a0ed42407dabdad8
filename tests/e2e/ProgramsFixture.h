#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "e2e/GitSession.h"
#include "e2e/TestHost.h"

namespace kelpie {

// All programs at work in a session of the test's own, and a file manager that shows a repository.
class ProgramsFixture : public testing::Test {
 protected:
  // What the programs have said, when the test fails.
  void TearDown() override;

  // Starts the agent and the extension, which observe these folders, and a file manager.
  void start(const std::vector<std::string>& observed);
  // The extension, and a file manager that it serves; also in place of one that has ended.
  void startSync();
  // The same with one folder, which is a repository and is shown: when this returns, `item`, a path
  // in it, has that badge.
  void startWith(const std::string& repository, const std::string& item, const std::string& badge);

  TestHost& host() { return *host_; }
  // Asks `value` again and again until it is `wanted`.
  template <class T>
  testing::AssertionResult becomes(const std::function<T()>& value, const T& wanted) {
    const auto end = std::chrono::steady_clock::now() + ChildProcess::kLongEnough;
    T last = value();
    for (; last != wanted; last = value()) {
      if (std::chrono::steady_clock::now() >= end)
        return testing::AssertionFailure() << "it is " << testing::PrintToString(last) << ", not "
                                           << testing::PrintToString(wanted);
      session.letTimePass();
    }
    return testing::AssertionSuccess();
  }
  // What git prints becomes `wanted`.
  testing::AssertionResult gitSays(const std::string& folder,
                                   const std::vector<std::string>& arguments,
                                   const std::string& wanted);
  // What the user was asked so far, a line for each dialog, when addUser()'s script keeps it there.
  std::string asked() const { return session.read("asked"); }

  GitSession session;
  std::unique_ptr<ChildProcess> agent;
  std::unique_ptr<ChildProcess> sync;

 private:
  std::optional<TestHost> host_;
};

// A user who agrees to everything, one who agrees to nothing, and one who types a name.
inline constexpr const char* kSaysYes = "echo \"$*\" >>\"$HOME/asked\"; exit 0\n";
inline constexpr const char* kSaysNo = "echo \"$*\" >>\"$HOME/asked\"; exit 1\n";
inline constexpr const char* kTypesTopic = "echo \"$*\" >>\"$HOME/asked\"; echo topic\n";

}  // namespace kelpie
