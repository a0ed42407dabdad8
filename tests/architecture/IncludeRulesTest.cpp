#include "architecture/IncludeRules.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "TestPaths.h"

namespace kelpie::architecture {
namespace {

TEST(Architecture, EveryIncludeOfTheProjectFollowsTheArrows) {
  const std::vector<SourceFile> sources = projectSources(KELPIE_SOURCE_DIR);
  ASSERT_FALSE(sources.empty()) << "nothing was read, so nothing was checked";
  for (const SourceFile& file : sources)
    for (const std::string& violation : includeViolations(file)) ADD_FAILURE() << violation;
}

TEST(Architecture, TheTableOfTheLayersIsConsistent) {
  for (const std::string& violation : layerTableViolations()) ADD_FAILURE() << violation;
}

TEST(Architecture, SourcesAreFoundInEveryFolder) {
  const std::filesystem::path root =
      std::filesystem::path(testing::TempDir()) / "kelpie-architecture";
  std::filesystem::remove_all(root);
  for (const char* path : {"src/refs/A.cpp", "app/cli/B.h", "filemanagers/gtk/c.c", "src/x.mm",
                           "src/README.md", "tests/refs/D.cpp"}) {
    std::filesystem::create_directories((root / path).parent_path());
    std::ofstream(root / path) << "text of " << path;
  }
  const std::vector<SourceFile> sources = projectSources(root);
  std::filesystem::remove_all(root);
  std::vector<std::string> paths;
  for (const SourceFile& file : sources) paths.push_back(file.path);
  EXPECT_EQ(paths, (std::vector<std::string>{"app/cli/B.h", "filemanagers/gtk/c.c",
                                             "src/refs/A.cpp", "src/x.mm"}));
  ASSERT_EQ(sources.size(), 4U);
  EXPECT_EQ(sources[2].text, "text of src/refs/A.cpp");
}

struct Case {
  const char* why;
  const char* path;
  const char* line;
};

TEST(IncludeRules, WhatPointsBackIsFound) {
  const Case cases[] = {
      {"the bottom layer uses nothing above", "src/foundation/URL.cpp", "#include \"refs/A.h\""},
      {"interfaces speak in values only", "src/platform/Log.h", "#include \"settings/A.h\""},
      {"settings and refs are neighbours", "src/settings/A.h", "#include \"refs/KPRemote.h\""},
      {"refs and settings are neighbours", "src/refs/A.h", "#include \"settings/A.h\""},
      {"one step back", "src/status/A.cpp", "#include \"menus/A.h\""},
      {"two steps back", "src/refs/A.cpp", "#include \"menus/A.h\""},
      {"menus do not know the controller", "src/menus/A.h", "#include \"extension/A.h\""},
      {"the core knows no system", "src/extension/A.cpp", "#include \"platform/linux/A.h\""},
      {"nor the other one", "src/foundation/A.cpp", "#include \"platform/macos/A.h\""},
      {"nor does an interface", "src/platform/A.h", "#include \"platform/linux/A.h\""},
      {"nor any program of it", "src/extension/A.cpp", "#include \"linux/base/A.h\""},
      {"one system does not know the other", "src/platform/linux/A.cpp",
       "#include \"platform/macos/A.h\""},
      {"an implementation is below the host link", "src/platform/linux/A.cpp",
       "#include \"linux/hostlink/A.h\""},
      {"an implementation does not know the controller", "src/platform/linux/A.cpp",
       "#include \"extension/A.h\""},
      {"the base of the programs knows no implementation", "src/linux/base/A.cpp",
       "#include \"platform/linux/A.h\""},
      {"the host link does not know the controller", "src/linux/hostlink/A.cpp",
       "#include \"extension/A.h\""},
      {"the extension does not know the programs", "src/linux/sync/A.cpp",
       "#include \"agent/A.h\""},
      {"the main application sends messages", "app/agent/A.cpp", "#include \"extension/A.h\""},
      {"it has no menus", "app/agent/actions/A.cpp", "#include \"menus/A.h\""},
      {"git is asked without knowing why", "app/agent/git/A.cpp",
       "#include \"agent/sessions/A.h\""},
      {"sessions know no actions", "app/agent/sessions/A.cpp", "#include \"agent/actions/A.h\""},
      {"the command line asks for badges", "app/cli/link/A.cpp", "#include \"status/KPBadge.h\""},
      {"and for menus", "app/cli/commands/A.cpp", "#include \"menus/A.h\""},
      {"programs share nothing", "app/cli/A.cpp", "#include \"agent/A.h\""},
      {"a file manager speaks the host link", "filemanagers/gtk/a.c", "#include \"refs/A.h\""},
      {"angle brackets hide nothing", "src/refs/A.h", "#include <menus/A.h>"},
      {"white space hides nothing", "src/refs/A.h", "  #  include   \"menus/A.h\"  // why"},
      {"import is an include", "src/refs/A.mm", "#import \"menus/A.h\""},
      {"a way around the include root", "src/refs/A.h", "#include \"../menus/A.h\""},
      {"a neighbour without its folder", "src/refs/A.h", "#include \"KPRemote.h\""},
      {"a macro names no file", "src/refs/A.h", "#include HEADER"},
      {"POSIX is a system header", "src/foundation/A.cpp", "#include <unistd.h>"},
      {"also below a folder", "src/extension/A.cpp", "#include <sys/stat.h>"},
      {"the settings need no main loop", "app/cli/settings/A.cpp", "#include <gio/gio.h>"},
      {"git is read without JSON", "app/agent/git/A.cpp", "#include <nlohmann/json.hpp>"},
      {"a library is none of the standard", "src/menus/A.cpp", "#include <nlohmann/json.hpp>"},
      {"GLib stays in platform/linux", "src/status/A.cpp", "#include <gio/gio.h>"},
      {"the C form of a header", "src/refs/A.h", "#include <stdint.h>"},
      {"a switch on the system", "src/foundation/A.cpp", "#ifdef __linux__"},
      {"in an expression too", "src/menus/A.h", "#if defined(__APPLE__) && 1"},
      {"a folder without a rule", "src/network/A.h", ""},
      {"a file above the folders", "app/A.cpp", ""},
  };
  for (const Case& c : cases) {
    const auto violations = includeViolations({c.path, "#pragma once\n" + std::string(c.line)});
    EXPECT_EQ(violations.size(), 1U) << c.why << ": " << c.path << ": " << c.line;
  }
}

TEST(IncludeRules, WhatFollowsTheArrowsPasses) {
  const Case cases[] = {
      {"a layer uses itself", "src/refs/KPRemote.cpp", "#include \"refs/KPRemote.h\""},
      {"values ask the file system", "src/foundation/URL.cpp",
       "#include \"platform/FileSystem.h\""},
      {"interfaces speak in values", "src/platform/FileSystem.h", "#include \"foundation/URL.h\""},
      {"status reads the settings", "src/status/A.cpp", "#include \"settings/A.h\""},
      {"several steps down", "src/extension/A.cpp", "#include \"refs/A.h\""},
      {"a system implements interfaces", "src/platform/linux/A.h", "#include \"platform/Log.h\""},
      {"a system uses its own headers", "src/platform/linux/A.cpp",
       "#include \"platform/linux/A.h\""},
      {"main() makes the controller", "src/linux/sync/main.cpp", "#include \"extension/A.h\""},
      {"a system uses its libraries", "src/platform/linux/A.cpp", "#include <gio/gio.h>"},
      {"a system may be switched on", "src/platform/macos/A.mm", "#if __APPLE__"},
      {"the main application writes records", "app/agent/link/A.cpp",
       "#include \"refs/KPRemote.h\""},
      {"the command line writes settings", "app/cli/settings/A.cpp", "#include \"settings/A.h\""},
      {"a file manager's own header", "filemanagers/gtk/a.c", "#include \"gtk/link.h\""},
      {"what the build makes", "src/settings/A.cpp", "#include \"Configuration.h\""},
      {"the standard library", "src/menus/A.h", "#include <memory_resource>"},
      {"tests are free", "tests/refs/ATest.cpp", "#include \"menus/A.h\""},
  };
  for (const Case& c : cases) {
    const auto violations = includeViolations({c.path, "#pragma once\n" + std::string(c.line)});
    EXPECT_TRUE(violations.empty()) << c.why << ": " << violations.front();
  }
}

TEST(IncludeRules, AViolationNamesFileLineAndReason) {
  const auto violations =
      includeViolations({"src/refs/A.cpp", "#include <map>\r\n#include \"menus/Menu.h\"\r\n"});
  EXPECT_EQ(violations,
            (std::vector<std::string>{
                "src/refs/A.cpp:2: src/refs must not include src/menus (\"menus/Menu.h\")"}));
}

}  // namespace
}  // namespace kelpie::architecture
