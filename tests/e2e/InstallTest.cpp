#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Configuration.h"
#include "TestPaths.h"
#include "e2e/ProcessHost.h"
#include "e2e/TestHost.h"
#include "linux/base/SessionBus.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// An installation below the home folder of a session, which the session's bus knows of.
class Installation : public testing::Test {
 protected:
  Installation() {
    // One at a time: an installation writes to the build folder, too.
    ChildProcess install({"flock", KELPIE_BUILD_DIR "/e2e-install.lock", KELPIE_CMAKE, "--install",
                          KELPIE_BUILD_DIR, "--component", "kelpie", "--prefix", prefix});
    EXPECT_EQ(install.waitForEnd(), 0) << install.errors();
  }
  std::string contentsOf(const std::string& name) const {
    std::ifstream file(prefix + name);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
  }
  bool startByName(const std::string& name) {
    const auto bus = SessionBus::connectTo(session.bus().address()).bus;
    constexpr int kMilliseconds = 30000;
    const GVariantPtr answer(g_dbus_connection_call_sync(
        bus->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "StartServiceByName", g_variant_new("(su)", name.c_str(), 0U), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, kMilliseconds, nullptr, nullptr));
    return answer != nullptr;
  }

  ProcessHost session;
  const std::string prefix = session.home() / ".local";
};

TEST_F(Installation, TheServiceFilesNameTheInstalledProgram) {
  const std::string program = prefix + "/bin/kelpie-sync";
  EXPECT_EQ(::access(program.c_str(), X_OK), 0);
  EXPECT_EQ(contentsOf("/share/dbus-1/services/org.kelpie.Kelpie.Sync.service"),
            "[D-BUS Service]\nName=org.kelpie.Kelpie.Sync\nExec=" + program +
                "\nSystemdService=kelpie-sync.service\n");
  const std::string unit = contentsOf("/share/systemd/user/kelpie-sync.service");
  EXPECT_NE(unit.find("\nType=dbus\nBusName=org.kelpie.Kelpie.Sync\nExecStart=" + program + "\n"),
            std::string::npos)
      << unit;
  const std::string agent = contentsOf("/share/systemd/user/kelpie-agent.service");
  EXPECT_NE(agent.find("\nExecStart=" + prefix + "/bin/kelpie-agent\n"), std::string::npos)
      << agent;
}

TEST_F(Installation, AFileManagerStartsTheExtensionByItsName) {
  ASSERT_TRUE(startByName(std::string(kExtensionIdentifier)));
  TestHost files(session);
  const nlohmann::json welcome = files.hello();
  ASSERT_TRUE(welcome.is_object()) << "it listened before it had its name";
  for (const auto& badge : welcome.at("badges")) {
    const std::string image = badge.at("image");
    EXPECT_TRUE(image.starts_with(prefix + "/share/kelpie/images/")) << image;
    EXPECT_TRUE(fs::is_regular_file(image)) << image;
  }
  session.bus().end();
  EXPECT_TRUE(session.waitUntil([&] { return files.isClosed(); })) << "and it ends with the bus";
}

}  // namespace
}  // namespace kelpie
