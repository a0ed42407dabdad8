#include "agent/sessions/SettingsWatch.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "agent/PeerFixture.h"

namespace kelpie::agent {
namespace {

class SettingsWatchTest : public PeerFixture {};

// The first file comes to name the second, which changes before anybody could have looked at it.
TEST_F(SettingsWatchTest, AFileThatChangesBeforeItIsWatchedIsNotMissed) {
  const std::string first = sandbox_.path("one/first");
  const std::string second = sandbox_.path("two/second");
  sandbox_.write("one/first", "1\n");
  sandbox_.write("two/second", "1\n");
  start();
  int changes = 0;
  bool isWatching = false;
  int looks = 0;  // of the queue alone
  std::promise<void> secondHasChanged;
  SettingsWatch watch(loop_, queues_, names_,
                      {[&, changed = secondHasChanged.get_future().share()] {
                         if (++looks == 1) return std::vector<std::string>{first};
                         changed.wait();
                         return std::vector<std::string>{first, second};
                       },
                       [&] { ++changes; }, [&] { isWatching = true; }});
  ASSERT_TRUE(waitFor([&] { return isWatching; }));
  sandbox_.write("one/first", "2\n");
  ASSERT_TRUE(waitFor([&] { return changes == 1; }));
  sandbox_.write("two/second", "2\n");
  secondHasChanged.set_value();
  EXPECT_TRUE(waitFor([&] { return changes == 2; }));
}

}  // namespace
}  // namespace kelpie::agent
