#include "cli/output/BadgeLook.h"

#include <gtest/gtest.h>

#include <set>

#include "status/KPBadge.h"

namespace kelpie::cli {
namespace {

TEST(BadgeLook, EveryBadgeHasALookAndNoTwoHaveTheSame) {
  std::set<std::string_view> glyphs;
  std::set<std::string_view> ascii;
  std::set<std::string_view> labels;
  for (const BadgeLook& look : badgeLooks()) {
    EXPECT_TRUE(glyphs.insert(look.glyph).second) << look.label;
    EXPECT_TRUE(ascii.insert(look.ascii).second) << look.label;
    EXPECT_TRUE(labels.insert(look.label).second) << look.label;
    EXPECT_EQ(look.ascii.size(), 1U) << look.label;
  }
  for (const KPBadge::Entry& badge : KPBadge::badges())
    EXPECT_EQ(badgeLook(badge.identifier).identifier, badge.identifier);
  EXPECT_EQ(badgeLooks().size(), KPBadge::badges().size());
}

TEST(BadgeLook, ThoseThatShowNothingAreNoBadges) {
  EXPECT_FALSE(isBadge(""));
  EXPECT_FALSE(isBadge("KPEmptyBadge"));
  EXPECT_TRUE(isBadge("KPCurrentBadge"));
  EXPECT_EQ(badgeLook("KPEmptyBadge").glyph, " ");
  EXPECT_EQ(badgeLook("Unheard-of").glyph, "*");
}

}  // namespace
}  // namespace kelpie::cli
