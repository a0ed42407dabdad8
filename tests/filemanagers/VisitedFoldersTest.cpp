#include "common/VisitedFolders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelpie::filemanagers {
namespace {

class VisitedFoldersTest : public testing::Test {
 protected:
  std::vector<std::string> log;
  VisitedFolders folders{{[this](const std::string& folder) { log.push_back("enter " + folder); },
                          [this](const std::string& folder) { log.push_back("leave " + folder); }}};
};

TEST_F(VisitedFoldersTest, AFolderIsLeftAfterSomeOthersWereVisited) {
  for (const char* folder : {"/a", "/b", "/c", "/a", "/d"}) folders.visit(folder);
  EXPECT_EQ(log, (std::vector<std::string>{"enter /a", "enter /b", "enter /c", "enter /d"}));
  log.clear();
  folders.visit("/e");
  EXPECT_EQ(log, (std::vector<std::string>{"enter /e", "leave /b"}));
}

TEST_F(VisitedFoldersTest, AFolderWhoseItemsAreShownIsNotLeft) {
  folders.visit("/tab");
  folders.addItem("/tab");
  folders.addItem("/tab");
  for (int i = 0; i < 10; ++i) folders.visit("/" + std::to_string(i));
  EXPECT_EQ(std::ranges::count(log, "leave /tab"), 0);
  folders.removeItem("/tab");
  EXPECT_EQ(std::ranges::count(log, "leave /tab"), 0);
  folders.removeItem("/tab");
  EXPECT_EQ(std::ranges::count(log, "leave /tab"), 1);
  folders.removeItem("/tab");
  EXPECT_EQ(std::ranges::count(log, "leave /tab"), 1);
}

TEST_F(VisitedFoldersTest, ItemsOfAFolderThatWasNotVisitedChangeNothing) {
  folders.addItem("/x");
  folders.removeItem("/x");
  EXPECT_TRUE(log.empty());
}

}  // namespace
}  // namespace kelpie::filemanagers
