#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

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
  EXPECT_NE(unit.find("\nSystemCallFilter=@system-service\n"), std::string::npos) << unit;
  EXPECT_NE(unit.find("\nNoNewPrivileges=yes\n"), std::string::npos) << unit;
  const std::string agent = contentsOf("/share/systemd/user/kelpie-agent.service");
  EXPECT_NE(agent.find("\nExecStart=" + prefix + "/bin/kelpie-agent\n"), std::string::npos)
      << agent;
}

// Every program, and every extension that a file manager loads.
std::vector<std::string> builtFiles() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(KELPIE_BUILD_DIR "/bin"))
    files.push_back(entry.path());
  if (const fs::path folder = KELPIE_BUILD_DIR "/filemanagers"; fs::exists(folder))
    for (const auto& entry : fs::recursive_directory_iterator(folder))
      if (entry.path().extension() == ".so") files.push_back(entry.path());
  return files;
}

TEST(BuiltFiles, AreHardened) {
  if (KELPIE_HARDENED == 0) GTEST_SKIP() << "a build for debugging or with a sanitizer";
  const std::vector<std::string> files = builtFiles();
  EXPECT_GE(files.size(), 4U);
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    ChildProcess readelf(
        {"readelf", "--wide", "--file-header", "--segments", "--dynamic", "--dyn-syms", file},
        {{"LC_ALL", "C"}});
    ASSERT_EQ(readelf.waitForEnd(), 0) << readelf.errors();
    const std::string& text = readelf.output();
    const auto says = [&text](const char* pattern) {
      return std::regex_search(text, std::regex(pattern));
    };
    EXPECT_TRUE(says("Type: +DYN")) << "it lies at another address each time";
    EXPECT_TRUE(says("GNU_STACK .* RW +0")) << "nothing on its stack can be run";
    EXPECT_TRUE(says("GNU_RELRO")) << "what the linker has filled in cannot be changed";
    EXPECT_TRUE(says("FLAGS.*BIND_NOW")) << "nor the table of functions";
    EXPECT_FALSE(says("TEXTREL|RPATH|RUNPATH"));
    EXPECT_TRUE(says("UND __stack_chk_fail")) << "a stack that was overwritten ends it";
    EXPECT_TRUE(says("UND __[a-z]+_chk@")) << "calls know the sizes of their buffers";
  }
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
