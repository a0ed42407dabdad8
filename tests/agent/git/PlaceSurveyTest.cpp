#include "agent/git/PlaceSurvey.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

class PlaceSurveyTest : public testing::Test {
 protected:
  std::string objection(const std::vector<std::string>& changed,
                        const std::vector<std::string>& asked) const {
    ChangedPlaces places;
    for (const std::string& path : changed) places.add(path);
    const StatusSnapshot known(root_.path(), RepositoryState::None, known_, terms_);
    return PlaceSurvey(root_.path(), places).objectionTo(asked, known);
  }
  std::string objection(const std::string& path) const { return objection({path}, {path}); }

  TemporaryFolder root_;
  std::vector<StatusItem> known_;
  std::shared_ptr<StatusTerms> terms_ = std::make_shared<StatusTerms>();
};

TEST_F(PlaceSurveyTest, OrdinaryFilesAndWhatIsGoneConcernNobodyElse) {
  root_.addFile("a/b/f", "");
  root_.addFile(".git/HEAD", "");
  for (const char* path : {"a", "a/b/f", "gone", "a/gone/too"}) EXPECT_EQ(objection(path), "");
}

TEST_F(PlaceSurveyTest, ARepositoryInsideIsOneItem) {
  root_.addFile("a/nested/.git/HEAD", "");
  root_.addFile("sub/.git", "gitdir: elsewhere\n");
  root_.addFile("sub/deep/f", "");
  EXPECT_NE(objection("a/nested"), "");
  EXPECT_NE(objection("a/nested/x/y"), "");
  EXPECT_NE(objection("sub/deep/f"), "");
  EXPECT_EQ(objection("a"), "") << "git looks at what is below";
}

TEST_F(PlaceSurveyTest, AFileWithAnotherNameMayHaveChangedThereToo) {
  root_.addFile("a/f", "");
  root_.addFile("a/g", "");
  fs::create_hard_link(root_ / "a/f", root_ / "other");
  EXPECT_NE(objection("a/f"), "");
  EXPECT_NE(objection("a"), "") << "also in a folder that is new";
  EXPECT_EQ(objection("a/g"), "");
  std::vector<std::string> many;
  for (int i = 0; i < 50; ++i) many.push_back("a/n" + std::to_string(i));
  EXPECT_NE(objection(many, {"a"}), "") << "the names are not kept apart";
  fs::create_directory_symlink(root_ / "a", root_ / "link");
  EXPECT_EQ(objection("link"), "") << "links are not followed";
}

TEST_F(PlaceSurveyTest, ALinkMayLeadToFilesThatAreNotCheckedOut) {
  root_.addFile("a/f", "");
  root_.addFile("plain", "");
  fs::create_directory_symlink("a", root_ / "link");
  known_ = parseStatus(std::string("? link\0? plain\0", 15)).value();
  EXPECT_EQ(objection("a/f"), "") << "all are checked out";
  terms_->isSparse = true;
  EXPECT_NE(objection("a/f"), "");
  known_.erase(known_.begin());
  EXPECT_EQ(objection("a/f"), "") << "there is no link";
}

}  // namespace
}  // namespace kelpie::agent
