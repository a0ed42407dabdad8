#include "foundation/KPExtensions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/MemoFileSystem.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "support/EventLog.h"
#include "support/FakeBundle.h"
#include "support/FakeFileSystem.h"
#include "support/ScopedFileSystem.h"

namespace kelpie {
namespace {

class KPExtensions : public testing::Test {
 protected:
  static URL url(std::string_view text, const std::optional<URL>& base = std::nullopt) {
    const auto parsed = URL::fromString(text, base);
    EXPECT_TRUE(parsed) << text;
    return parsed.value_or(URL::fileURLWithPath("/broken"));
  }

  EventLog events;
  std::shared_ptr<FakeFileSystem> files = std::make_shared<FakeFileSystem>(events);
  ScopedFileSystem installed{files};
};

// -- Equality ------------------------------------------------------------------------------------

TEST_F(KPExtensions, AUrlEqualsItselfAlsoWhenItsFileDoesNotExist) {
  const URL missing = URL::fileURLWithPath("/missing");
  EXPECT_TRUE(missing.isEqual(missing));
  EXPECT_TRUE(missing.isEqual(Object(missing)));
}

TEST_F(KPExtensions, TwoUrlsOfOneMissingFileAreNotEqual) {
  EXPECT_FALSE(URL::fileURLWithPath("/missing").isEqual(URL::fileURLWithPath("/missing")));
  files->addFile("/there");
  EXPECT_FALSE(URL::fileURLWithPath("/there").isEqual(URL::fileURLWithPath("/missing")));
  EXPECT_FALSE(URL::fileURLWithPath("/missing").isEqual(URL::fileURLWithPath("/there")));
}

TEST_F(KPExtensions, ADirectoryEqualsItselfWithAndWithoutATrailingSlash) {
  files->addFolder("/a/b");
  EXPECT_TRUE(url("file:///a/b").isEqual(url("file:///a/b/")));
  EXPECT_TRUE(url("file:///a/b/").isEqual(url("file:///a/b")));
}

TEST_F(KPExtensions, FilesAreEqualByIdentityHoweverTheirPathsAreWritten) {
  files->addFile("/a/file");
  files->addLink("/link", "/a");
  EXPECT_FALSE(url("file:///a/file").isEqual(url("file:///a/x/../file")))
      << "the folder x does not exist";
  EXPECT_TRUE(url("file:///a/file").isEqual(url("file:///a/./%66ile")));
  EXPECT_TRUE(url("file:///a/file").isEqual(url("file:///link/file")));
  EXPECT_TRUE(url("file:///a/file").isEqual(url("file", url("file:///a/"))));
  EXPECT_FALSE(url("file:///link").isEqual(url("file:///a"))) << "a link is not its target";
}

TEST_F(KPExtensions, AFileAndAnAddressAreUnequalInBothOrders) {
  files->addFile("/a");
  EXPECT_FALSE(url("file:///a").isEqual(url("http://h/a")));
  EXPECT_FALSE(url("http://h/a").isEqual(url("file:///a")));
}

TEST_F(KPExtensions, AnAddressComparesTextsAndNeverAsksWhatTheOtherIs) {
  files->addFile("/a");
  files->forgetCounts();
  EXPECT_TRUE(url("http://h/a").isEqual(url("http://h/a")));
  EXPECT_TRUE(url("http://h/a").isEqual(url("a", url("http://h/"))));
  EXPECT_FALSE(url("http://h/a").isEqual(url("http://h/a/")));
  EXPECT_FALSE(url("http://h/a").isEqual(url("HTTP://h/a")));
  EXPECT_FALSE(url("http://h/a").isEqual(url("file:///a")));
  EXPECT_EQ(files->lookUps(), 0U);
}

TEST_F(KPExtensions, WhatIsNoUrlEqualsNone) {
  const URL file = files->addFile("/a");
  for (const Object& other :
       {Object(), Object("file:///a"), Object("/a"), Object(1), Object(Objects{Object(file)})}) {
    EXPECT_FALSE(file.isEqual(other)) << other.description();
    EXPECT_FALSE(url("http://h/a").isEqual(other)) << other.description();
  }
}

// -- Resource values -----------------------------------------------------------------------------

TEST_F(KPExtensions, ResourceValuesComeFromTheFileSystem) {
  files->addFile("/file");
  files->addPackage("/App.app");
  files->addLink("/link", "/file");
  files->setLocalizedName("/App.app", "App");
  files->setIcon("/App.app", {"app-icon"});
  EXPECT_TRUE(url("file:///file").identifier());
  EXPECT_FALSE(url("file:///file").isDirectory());
  EXPECT_TRUE(url("file:///App.app").isDirectory());
  EXPECT_TRUE(url("file:///App.app").isPackage());
  EXPECT_FALSE(url("file:///file").isPackage());
  EXPECT_TRUE(url("file:///link").isSymbolicLink());
  EXPECT_FALSE(url("file:///file").isSymbolicLink());
  EXPECT_EQ(url("file:///App.app").localizedName(), "App");
  EXPECT_EQ(url("file:///file").localizedName(), "file");
  EXPECT_EQ(url("file:///App.app").icon(), Image{"app-icon"});
}

TEST_F(KPExtensions, NothingIsKnownOfWhatIsMissingOrNoFile) {
  for (const std::string_view text : {"file:///missing", "http://h/a"}) {
    const URL nothing = url(text);
    EXPECT_FALSE(nothing.identifier());
    EXPECT_FALSE(nothing.isDirectory());
    EXPECT_FALSE(nothing.isPackage());
    EXPECT_FALSE(nothing.isSymbolicLink());
    EXPECT_FALSE(nothing.localizedName());
    EXPECT_FALSE(nothing.icon());
  }
}

TEST_F(KPExtensions, NothingExistsWhileNoFileSystemIsInstalled) {
  const ScopedFileSystem none(nullptr);
  const URL root = url("file:///");
  EXPECT_FALSE(root.identifier());
  EXPECT_FALSE(root.isDirectory());
  EXPECT_EQ(FileSystem::current().contentsOfDirectory(root).size(), 0U);
  EXPECT_EQ(FileSystem::current().enumerator(root, nullptr)->next(), nullptr);
  EXPECT_FALSE(FileSystem::current().resolveBookmark({}).url);
}

// -- Ancestry ------------------------------------------------------------------------------------

TEST_F(KPExtensions, ADirectoryIsParentOfAFileTwoLevelsBelow) {
  const URL file = files->addFile("/a/b/c");
  EXPECT_TRUE(url("file:///a").isParentOfUrl(file));
  EXPECT_TRUE(url("file:///a/b").isParentOfUrl(file));
  EXPECT_TRUE(url("file:///").isParentOfUrl(file));
}

TEST_F(KPExtensions, ADirectoryIsNotItsOwnParent) {
  const URL folder = files->addFolder("/a/b");
  EXPECT_FALSE(folder.isParentOfUrl(folder));
  EXPECT_FALSE(folder.isParentOfUrl(url("file:///a/b")));
  EXPECT_FALSE(url("file:///").isParentOfUrl(url("file:///")));
}

TEST_F(KPExtensions, ADirectoryIsNotParentOfItsOwnParent) {
  const URL folder = files->addFolder("/a/b");
  EXPECT_FALSE(folder.isParentOfUrl(url("file:///a")));
  EXPECT_FALSE(folder.isParentOfUrl(url("file:///")));
}

TEST_F(KPExtensions, AFileIsParentOfNothing) {
  const URL file = files->addFile("/a/b");
  EXPECT_FALSE(file.isParentOfUrl(url("file:///a/b/c")));
  EXPECT_FALSE(file.isParentOfUrl(url("file:///a")));
  EXPECT_FALSE(file.isParentOfUrl(file));
}

TEST_F(KPExtensions, NeighboursAreNoParents) {
  files->addFolder("/a/b");
  files->addFile("/a/bb/c");
  EXPECT_FALSE(url("file:///a/b").isParentOfUrl(url("file:///a/bb/c")));
  EXPECT_FALSE(url("file:///a/b").isParentOfUrl(url("http://h/a/b/c")));
}

TEST_F(KPExtensions, AMissingItemHasTheParentsThatItsPathNames) {
  files->addFolder("/a/b");
  EXPECT_TRUE(url("file:///a").isParentOfUrl(url("file:///a/b/deleted/deeper")));
  EXPECT_FALSE(url("file:///a/deleted").isParentOfUrl(url("file:///a/deleted/deeper")));
}

TEST_F(KPExtensions, AncestorsAreComparedByIdentity) {
  files->addFile("/real/sub/file");
  files->addLink("/link", "/real");
  EXPECT_FALSE(url("file:///real").isParentOfUrl(url("file:///link/sub/file")))
      << "the way up leads through the link, which is another item than its target";
  EXPECT_TRUE(url("file:///real/sub").isParentOfUrl(url("file:///link/sub/file")));
  EXPECT_FALSE(url("file:///link").isParentOfUrl(url("file:///link/sub/file")))
      << "a link is no directory";
}

TEST_F(KPExtensions, AncestryFollowsMovesMadeSinceTheUrlsWereMade) {
  const URL folder = files->addFolder("/a/b");
  const URL file = url("file:///x/b/file");
  EXPECT_FALSE(folder.isParentOfUrl(file));
  files->move("/a/b", "/x/b");
  files->addFolder("/a/b");
  EXPECT_FALSE(folder.isParentOfUrl(file));
  files->remove("/a/b");
  files->move("/x/b", "/a/b");
  EXPECT_TRUE(folder.isParentOfUrl(url("file:///a/b/file")));
}

TEST_F(KPExtensions, AncestryEndsOnAnyPath) {
  files->addFolder("/a/b");
  files->addLink("/a/loop", "/a/loop");
  files->addLink("/a/ring", "/a");
  const URL folder = url("file:///a/b");
  const URL root = url("file:///");
  std::string deep = "/a/b";
  for (int i = 0; i < 200; ++i) deep += "/x";
  std::string ring = "/a";
  for (int i = 0; i < 30; ++i) ring += "/ring";
  EXPECT_FALSE(folder.isParentOfUrl(url("file:///a/loop/loop/loop")));
  EXPECT_FALSE(folder.isParentOfUrl(URL::fileURLWithPath(ring)));
  EXPECT_FALSE(folder.isParentOfUrl(url("file:///a/../a/../a/..")));
  EXPECT_TRUE(folder.isParentOfUrl(URL::fileURLWithPath(deep)));
  EXPECT_TRUE(root.isParentOfUrl(URL::fileURLWithPath(deep)));
  EXPECT_FALSE(root.isParentOfUrl(URL::fileURLWithPath(std::string(16U << 20U, 'x'))));
  std::string endless;
  for (int i = 0; i < 1'000'000; ++i) endless += "/x";
  EXPECT_FALSE(root.isParentOfUrl(URL::fileURLWithPath(endless)));
  EXPECT_FALSE(folder.isParentOfUrl(url("file:")));
  EXPECT_FALSE(folder.isParentOfUrl(url("file:b/c")));
}

// A file system that answers a folder's own path as its parent, as a confused server may.
class LoopingFileSystem final : public FileSystem {
 public:
  explicit LoopingFileSystem(const FileSystem& files) : files_(files) {}
  ResourceValues resourceValues(const URL& url) const override {
    return files_.resourceValues(url);
  }
  std::optional<std::string> localizedName(const URL& /*url*/) const override { return {}; }
  std::optional<Image> icon(const URL& /*url*/) const override { return {}; }
  std::optional<URL> parentUrl(const URL& url) const override {
    return URL::fileURLWithPath(url.path());
  }
  std::optional<URL> fileReferenceUrl(const URL& /*url*/) const override { return {}; }
  std::optional<URL> filePathUrl(const URL& url) const override { return url; }
  std::vector<URL> contentsOfDirectory(const URL& /*url*/) const override { return {}; }
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override {
    return files_.enumerator(url, std::move(onError));
  }
  BookmarkResolution resolveBookmark(ByteView /*bookmark*/) const override { return {}; }

 private:
  const FileSystem& files_;
};

TEST_F(KPExtensions, AncestryEndsWhenTheWayUpDoesNotLeadUp) {
  files->addFolder("/a/b");
  files->addFile("/c/d");
  const LoopingFileSystem looping(*files);
  EXPECT_FALSE(url("file:///a/b").isParentOfUrl(url("file:///c/d"), looping));
}

TEST_F(KPExtensions, AncestryLooksOnceAtEachLevel) {
  files->addFolder("/a/b");
  files->addFile("/x/y/z/file");
  files->forgetCounts();
  EXPECT_FALSE(url("file:///a/b").isParentOfUrl(url("file:///x/y/z/file")));
  EXPECT_EQ(files->lookUps(), 2U + 5U) << "the receiver, its parent, and five levels";
  files->forgetCounts();
  EXPECT_FALSE(url("file:///x/y/z").isParentOfUrl(url("file:///x/y/file")));
  EXPECT_EQ(files->lookUps(), 2U + 2U) << "the walk stops at the receiver's parent";
}

TEST_F(KPExtensions, ParentsAreLexical) {
  EXPECT_EQ(url("file:///a/missing/file").parentUrl()->path(), "/a/missing");
  EXPECT_FALSE(url("file:///").parentUrl());
  EXPECT_FALSE(url("http://h/a").parentUrl());
}

// -- Remote addresses ----------------------------------------------------------------------------

TEST_F(KPExtensions, ScpSyntaxBecomesAnSshUrl) {
  const auto resolved = url("user@host:owner/repository.git").spcSyntaxResolvedUrl();
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->absoluteString(), "ssh://user@host/owner/repository.git");
  EXPECT_EQ(resolved->scheme(), "ssh");
  EXPECT_EQ(resolved->host(), "host");
  EXPECT_EQ(resolved->path(), "/owner/repository.git");
}

TEST_F(KPExtensions, WhatIsNoScpSyntaxStaysTheSameObject) {
  const std::pair<const char*, std::string_view> cases[] = {
      {"a scheme", "https://user@host:80/path"},
      {"a scheme that only looks like a host", "host:path"},
      {"a host without a scheme", "//user@host/path:x"},
      {"a file", "file:///a@b:c"},
      {"no at sign", "owner/repository.git"},
      {"nothing before the at sign", "@host:path"},
      {"only blanks before the at sign", "  @host:path"},
      {"no colon", "user@host"},
      {"no colon, blanks at the end", "user@host  "},
      {"nothing after the at sign", "user@"},
      {"nothing between at sign and colon", "user@:path"},
      {"only white space between them", "user@ \n\t:path"},
      {"nothing after the colon", "user@host:"},
      {"only white space after the colon", "user@host: \n \r\n"},
      {"a colon before the at sign only", "1:2@host"},
  };
  for (const auto& [why, text] : cases) {
    const URL remote = url(text);
    const auto resolved = remote.spcSyntaxResolvedUrl();
    ASSERT_TRUE(resolved) << why;
    EXPECT_TRUE(resolved->isSameObject(remote)) << why;
  }
}

TEST_F(KPExtensions, TheScannerOfRemotesSkipsWhiteSpaceBeforeEachToken) {
  struct Case {
    const char* why;
    std::string_view text;
    std::string_view want;  // empty: no URL
  };
  const Case cases[] = {
      {"before the user", " \t\nuser@host:path", "ssh://user@host/path"},
      {"before the host", "user@ \n host:path", "ssh://user@host/path"},
      {"before the path", "user@host: path", "ssh://user@host/path"},
      {"a line break before the path", "a@b:\nx", "ssh://a@b/x"},
      {"text after a line break is dropped", "a@b:x\ny", "ssh://a@b/x"},
      {"only the first line after the break", "a@b:\r\n\r\nx\ny", "ssh://a@b/x"},
      {"a blank after the user stays", "user @host:path", ""},
      {"a blank after the host stays", "user@host :path", ""},
      {"a blank after the path stays", "user@host:path ", ""},
      {"a carriage return after the path stays", "user@host:path\r\nx", ""},
      {"a blank in the path", "user@host:a b", ""},
      {"a leading slash stays", "user@host:/abs/path", "ssh://user@host//abs/path"},
      {"a number is no port", "user@host:8080/x", "ssh://user@host/8080/x"},
      {"a further colon is part of the path", "user@host:a:b", "ssh://user@host/a:b"},
      {"a further at sign before the colon", "user@a@b:x", ""},
      {"an escape stays as it is", "us%20er@host:x%20y", "ssh://us%20er@host/x%20y"},
      {"a slash in front", "x/user@host:y", "ssh://x/user@host/y"},
  };
  for (const Case& c : cases) {
    const auto resolved = url(c.text).spcSyntaxResolvedUrl();
    EXPECT_EQ(resolved ? resolved->absoluteString() : "", c.want) << c.why;
  }
}

TEST_F(KPExtensions, AResolvedRemoteIsItsOwnResolution) {
  const auto once = url("user@host:path").spcSyntaxResolvedUrl();
  ASSERT_TRUE(once);
  const auto twice = once->spcSyntaxResolvedUrl();
  ASSERT_TRUE(twice);
  EXPECT_TRUE(twice->isSameObject(*once));
}

// -- Sets ----------------------------------------------------------------------------------------

TEST_F(KPExtensions, HashesDifferForDifferentlyWrittenPathsOfOneFile) {
  files->addFolder("/a");
  const URL plain = url("file:///a");
  const URL slashed = url("file:///a/");
  EXPECT_TRUE(plain.isEqual(slashed));
  EXPECT_NE(plain.hash(), slashed.hash());
}

// -- Numbers and images --------------------------------------------------------------------------

TEST(UniqueNumber, ManyThreadsNeverGetOneTwice) {
  constexpr std::size_t kThreads = 8;
  constexpr std::size_t kCalls = 5000;
  std::vector<std::vector<std::uint64_t>> drawn(kThreads);
  {
    std::vector<std::thread> threads;
    for (auto& own : drawn)
      threads.emplace_back([&own] {
        for (std::size_t i = 0; i < kCalls; ++i) own.push_back(uniqueNumber());
      });
    for (std::thread& thread : threads) thread.join();
  }
  std::set<std::uint64_t> all;
  for (const auto& own : drawn) {
    EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
    all.insert(own.begin(), own.end());
  }
  EXPECT_EQ(all.size(), kThreads * kCalls);
  EXPECT_FALSE(all.contains(0));
}

TEST(UniqueNumber, TheFirstTwoOfAProcessAreOneAndTwo) {
  // A process of its own, so that no other test has drawn before.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const bool first = uniqueNumber() == 1;
        const bool second = uniqueNumber() == 2;
        std::exit(first && second ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(TagImage, IsTheSymbolWhereTheSystemHasIt) {
  FakeBundle bundle;
  bundle.systemSymbols = true;
  EXPECT_EQ(tagImage(bundle), (Image{"tag", Image::Source::SystemSymbol}));
}

TEST(TagImage, IsAResourceOnEarlierSystems) {
  const FakeBundle bundle;
  EXPECT_EQ(tagImage(bundle), (Image{"TagImage", Image::Source::Resource}));
}

}  // namespace
}  // namespace kelpie
