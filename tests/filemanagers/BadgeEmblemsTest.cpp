#include "common/BadgeEmblems.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "TestPaths.h"
#include "protocol/BadgeIdentifiers.h"

namespace kelpie::filemanagers {
namespace {

TEST(BadgeEmblems, EveryEmblemIsAnIconOfItsOwn) {
  std::set<std::string_view> names;
  for (const BadgeEmblem& row : badgeEmblems()) {
    EXPECT_TRUE(names.insert(row.emblem).second) << row.emblem;
    const std::string icon =
        std::string(KELPIE_BUILD_DIR "/share/icons/hicolor/scalable/emblems/emblem-")
            .append(row.emblem)
            .append(".svg");
    EXPECT_TRUE(std::filesystem::is_regular_file(icon)) << icon;
  }
  EXPECT_EQ(names.size(), 13U);
}

TEST(BadgeEmblems, WhatHasNoImageHasNoEmblem) {
  EXPECT_EQ(emblemOf(badge::kConflicted), "kelpie-conflicted");
  EXPECT_EQ(emblemOf(badge::kEmpty), "");
  EXPECT_EQ(emblemOf("KPBadgeOfTomorrow"), "");
  EXPECT_EQ(emblemOf(""), "");
}

}  // namespace
}  // namespace kelpie::filemanagers
