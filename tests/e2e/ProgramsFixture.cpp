#include "e2e/ProgramsFixture.h"

#include <iostream>

namespace kelpie {

void ProgramsFixture::TearDown() {
  if (!HasFailure()) return;
  for (const auto* program : {&agent, &sync})
    if (*program) std::cerr << (program == &agent ? "agent:\n" : "sync:\n") << (*program)->errors();
}

void ProgramsFixture::start(const std::vector<std::string>& observed) {
  session.observe(observed);
  agent = session.startAgent();
  startSync();
}

void ProgramsFixture::startSync() {
  sync = session.startSync();
  host_.emplace(session);
  EXPECT_EQ(host_->hello().value("type", ""), "welcome");
}

void ProgramsFixture::startWith(const std::string& repository, const std::string& item,
                                const std::string& badge) {
  start({repository});
  host().show(repository);
  EXPECT_TRUE(host().sees(item, badge)) << agent->errors() << sync->errors();
}

testing::AssertionResult ProgramsFixture::gitSays(const std::string& folder,
                                                  const std::vector<std::string>& arguments,
                                                  const std::string& wanted) {
  return becomes<std::string>([&] { return session.git(folder, arguments); }, wanted);
}

}  // namespace kelpie
