#include <gtest/gtest.h>

#include <cstdlib>

#include "agent/sessions/SessionSimulation.h"
#include "support/Sanitizers.h"

namespace kelpie::agent {
namespace {

constexpr unsigned kSchedules = kHasAddressSanitizer || kHasThreadSanitizer ? 300 : 3'000;
constexpr int kSteps = 150;

unsigned setting(const char* name, unsigned otherwise) {
  const char* const text = std::getenv(name);
  return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

// A session of the agent under schedules that differ in the order of changes, readings, timers,
// events of the watch and messages. Whatever came before: at most one reading of a kind runs at a
// time, no extension is told of what it does not know, or first of all a status that is known to be
// out of date; in the end each knows what git says, without a proof that had to mend it, and when
// all are gone the session ends and every ticket is back.
//
// KELPIE_SIMULATION_SEED runs the one schedule of that seed, KELPIE_SIMULATION_SCHEDULES others
// than the usual number.
TEST(SessionSimulation, AnyScheduleEndsWithWhatGitSays) {
  const unsigned one = setting("KELPIE_SIMULATION_SEED", 0);
  const unsigned last = one != 0 ? one : setting("KELPIE_SIMULATION_SCHEDULES", kSchedules);
  for (unsigned seed = one != 0 ? one : 1; seed <= last; ++seed) {
    SessionSimulation simulation(seed);
    simulation.run(kSteps);
    simulation.checkTheLastStatus();
    simulation.checkTheEnd();
    ASSERT_FALSE(testing::Test::HasFailure())
        << simulation.history() << "KELPIE_SIMULATION_SEED=" << seed;
  }
}

}  // namespace
}  // namespace kelpie::agent
