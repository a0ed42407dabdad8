// What we write is read by readers that share nothing with ours: Python's property lists for the
// container, GNUstep's keyed unarchiver for the objects.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TestPaths.h"
#include "agent/git/Subprocess.h"
#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/URL.h"
#include "refs/KPRemote.h"
#include "refs/ReferenceClasses.h"
#include "support/ArchiveJson.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

// GNUstep decodes every array as one that can be changed.
nlohmann::json withoutArrayMutability(const nlohmann::json& description) {
  std::string text = description.dump();
  constexpr std::string_view kMutable = "\"$marray\"";
  for (auto at = text.find(kMutable); at != std::string::npos; at = text.find(kMutable, at))
    text.replace(at, kMutable.size(), "\"$array\"");
  return sortedArchiveJson(nlohmann::json::parse(text));
}

class IndependentReader : public testing::Test {
 protected:
  static void SetUpTestSuite() { registerReferenceClasses(); }

  static agent::ProgramResult run(std::vector<std::string> arguments) {
    agent::ProgramCall call;
    call.arguments = std::move(arguments);
    return agent::Subprocess::run(call);
  }

  std::string written(const Object& root) {
    const auto archive = KeyedArchiver::archivedData(root);
    EXPECT_TRUE(archive);
    const Bytes bytes = archive.value_or(Bytes());
    return folder_.addFile("archive", std::string(bytes.begin(), bytes.end()));
  }

  // What GNUstep reads there. Its menus want a display.
  enum class Display : bool { None, Virtual };
  static nlohmann::json described(const std::string& path, Display display = Display::None) {
    std::vector<std::string> command = {KELPIE_DESCRIBE_ARCHIVE, path};
    if (display == Display::Virtual) command.insert(command.begin(), {"xvfb-run", "-a"});
    const auto result = run(std::move(command));
    EXPECT_TRUE(result.succeeded()) << result.failure();
    const auto description = nlohmann::json::parse(result.output, nullptr, false);
    EXPECT_FALSE(description.is_discarded()) << result.output;
    return withoutArrayMutability(description);
  }

  TemporaryFolder folder_;
};

// For each archive of the fixtures, written again by us.
class IndependentReaders : public IndependentReader,
                           public testing::WithParamInterface<std::string> {};

Object fixture(const std::string& name) {
  return KeyedUnarchiver::unarchiveObject(archiveFixture(name + ".bplist"));
}

TEST_P(IndependentReaders, GNUstepReadsTheSameObjects) {
  EXPECT_EQ(described(written(fixture(GetParam()))),
            withoutArrayMutability(archiveFixtureJson(GetParam())));
}

TEST_P(IndependentReaders, PythonReadsTheContainerAndWritesItAgainToTheSameObjects) {
  const std::string again = folder_ / "again";
  const auto result = run({"python3", KELPIE_SOURCE_DIR "/tests/gnustep/read_property_list.py",
                           written(fixture(GetParam())), again});
  ASSERT_TRUE(result.succeeded()) << result.output << result.failure();

  std::ifstream file(again, std::ios::binary);
  const Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  EXPECT_EQ(archiveJson(KeyedUnarchiver::unarchiveObject(bytes)), archiveFixtureJson(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, IndependentReaders, testing::ValuesIn(archiveFixtureNames()),
                         [](const auto& test) { return test.param; });

// The numbers that the fixtures leave out, and sets and dates.
TEST_F(IndependentReader, GNUstepReadsValuesOfEveryKind) {
  const Object values = Dictionary{
      {"max", std::uint64_t{0x7FFFFFFFFFFFFFFF}},
      {"min", std::numeric_limits<std::int64_t>::min()},
      {"byte", 255},
      {"short", 65'535},
      {"word", std::int64_t{4'294'967'295}},
      {"minus", -1},
      {"yes", true},
      {"real", -0.1},
      {"text", "\xF0\x9F\x8C\x8A \xC3\xA9 \xE2\x82\xAC \x0E"},
      {"date", Object::date(721'692'800.25)},
      {"set", Object::set(Objects{"a", 1})},
      {"empty", Object(Bytes{})},
      {"relative", *URL::fromString("../x?y", URL::fromString("http://host/a/b"))},
  };
  EXPECT_EQ(described(written(values)), withoutArrayMutability(archiveJson(values)));
}

TEST_F(IndependentReader, GNUstepReadsAMenuItemWithItsSubmenuAndObject) {
  MenuItem entry("*.txt", "ignore:");
  entry.representedObject = Object("txt");
  auto submenu = std::make_shared<Menu>("Ignore");
  submenu->items = {entry, MenuItem("plain", std::nullopt)};
  // Whatever has a submenu is given this action by AppKit itself.
  MenuItem item("Ignore", "submenuAction:");
  item.tag = -7;
  item.state = 1;
  item.enabled = false;
  item.keyEquivalent = "k";
  item.submenu = submenu;
  item.representedObject = Dictionary{{"of", Objects{"a", *URL::fromString("file:///b%20c")}}};
  const Object root(std::make_shared<const MenuItem>(item));
  EXPECT_EQ(described(written(root), Display::Virtual), withoutArrayMutability(archiveJson(root)));
}

}  // namespace
}  // namespace kelpie
