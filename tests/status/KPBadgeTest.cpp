#include "status/KPBadge.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace kelpie {
namespace {

TEST(KPBadge, ThirteenBadgesEachWithItsImage) {
  std::map<std::string, std::string> images;
  for (const KPBadge::Entry& entry : KPBadge::badges()) {
    EXPECT_EQ(entry.image.source, Image::Source::Resource);
    EXPECT_TRUE(images.emplace(entry.identifier, entry.image.name).second) << entry.identifier;
  }
  const std::map<std::string, std::string> expected = {
      {"KPCurrentBadge", "CurrentBadge"},
      {"KPIndexNewBadge", "IndexNewBadge"},
      {"KPIndexModifiedBadge", "IndexModifiedBadge"},
      {"KPIndexDeletedBadge", "IndexDeletedBadge"},
      {"KPIndexRenamedBadge", "IndexRenamedBadge"},
      {"KPIndexTypeChangedBadge", "IndexTypeChangedBadge"},
      {"KPWorkdirNewBadge", "WorkdirNewBadge"},
      {"KPWorkdirModifiedBadge", "WorkdirModifiedBadge"},
      {"KPWorkdirDeletedBadge", "WorkdirDeletedBadge"},
      {"KPWorkdirTypeChangedBadge", "WorkdirTypeChangedBadge"},
      {"KPWorkdirRenamedBadge", "WorkdirRenamedBadge"},
      {"KPIgnoredBadge", "IgnoredBadge"},
      {"KPConflictedBadge", "ConflictedBadge"},
  };
  EXPECT_EQ(images, expected);
}

TEST(KPBadge, TheTableIsBuiltOnce) {
  EXPECT_EQ(KPBadge::badges().data(), KPBadge::badges().data());
}

TEST(KPBadge, TheBareIdentifiersAreTwoAndHaveNoImage) {
  EXPECT_EQ(KPBadge::kEmpty, "KPEmptyBadge");
  EXPECT_EQ(KPBadge::kNone, "");
  for (const KPBadge::Entry& entry : KPBadge::badges()) {
    EXPECT_NE(entry.identifier, KPBadge::kEmpty);
    EXPECT_NE(entry.identifier, KPBadge::kNone);
  }
}

}  // namespace
}  // namespace kelpie
