#include "agent/git/ChangedPlaces.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelpie::agent {
namespace {

// "folder: name name", with "*" for more names than are kept.
std::vector<std::string> shown(const ChangedPlaces& places) {
  std::vector<std::string> lines;
  for (const auto& [folder, entries] : places.folders()) {
    std::string line = folder + ":";
    for (const std::string& name : entries.names) line += " " + name;
    lines.push_back(line + (entries.areMany ? " *" : ""));
  }
  return lines;
}

ChangedPlaces placesOf(const std::vector<std::string>& paths) {
  ChangedPlaces places;
  for (const std::string& path : paths) places.add(path);
  return places;
}

TEST(ChangedPlaces, NothingAtFirst) {
  EXPECT_TRUE(ChangedPlaces().isEmpty());
  EXPECT_FALSE(ChangedPlaces().isEverything());
}

TEST(ChangedPlaces, EntriesAreKeptByTheirFolders) {
  EXPECT_EQ(shown(placesOf({"f", "a/b/x", "a/b/y", "a/b/x", "g"})),
            (std::vector<std::string>{": f g", "a/b: x y"}));
  EXPECT_FALSE(placesOf({"f"}).isEmpty());
}

TEST(ChangedPlaces, WhatLiesBelowAChangedEntryAddsNothing) {
  EXPECT_EQ(shown(placesOf({"a", "a/b", "a/b/c", "ab"})), (std::vector<std::string>{": a ab"}));
}

TEST(ChangedPlaces, TheEmptyPathIsEverything) {
  ChangedPlaces places = placesOf({"a", ""});
  EXPECT_TRUE(places.isEverything());
  EXPECT_FALSE(places.isEmpty());
  places.add("b");
  EXPECT_EQ(shown(places), std::vector<std::string>());
  ChangedPlaces other;
  other.add(places);
  EXPECT_TRUE(other.isEverything());
}

TEST(ChangedPlaces, OfManyNamesTheFolderIsKept) {
  ChangedPlaces places;
  for (std::size_t i = 0; i <= ChangedPlaces::kMostNames; ++i) places.add("a/" + std::to_string(i));
  EXPECT_EQ(shown(places), std::vector<std::string>{"a: *"});
  places.add("a/b/c");
  EXPECT_EQ(shown(places), std::vector<std::string>{"a: *"}) << "it lies below";
}

TEST(ChangedPlaces, OfManyFoldersThoseAboveAreKept) {
  ChangedPlaces places = placesOf({"top", "x/y/f"});
  for (std::size_t i = 0; i < 10 * ChangedPlaces::kMostFolders; ++i)
    places.add("new/deep/d" + std::to_string(i) + "/f");
  EXPECT_EQ(shown(places), (std::vector<std::string>{": top", "new/deep: *", "x/y: f"}));
}

TEST(ChangedPlaces, TakesBoundedMemoryWhateverChanges) {
  ChangedPlaces places;
  for (std::size_t i = 0; i < 20'000; ++i)
    places.add("d" + std::to_string(i % 300) + "/" + std::to_string(i % 70) + "/" +
               std::to_string(i));
  EXPECT_LE(places.folders().size(), ChangedPlaces::kMostFolders);
  for (const auto& [folder, entries] : places.folders())
    EXPECT_LE(entries.names.size(), ChangedPlaces::kMostNames);
  EXPECT_FALSE(places.isEmpty());
}

TEST(ChangedPlaces, OneCanBeAddedToAnother) {
  ChangedPlaces places = placesOf({"a/x"});
  ChangedPlaces many;
  for (std::size_t i = 0; i <= ChangedPlaces::kMostNames; ++i) many.add("b/" + std::to_string(i));
  many.add("c/y");
  places.add(many);
  EXPECT_EQ(shown(places), (std::vector<std::string>{"a: x", "b: *", "c: y"}));
}

}  // namespace
}  // namespace kelpie::agent
