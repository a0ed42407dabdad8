#include "foundation/URL.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_set>
#include <utility>

#include "foundation/UrlSyntax.h"

namespace kelpie {
namespace {

URL urlOf(std::string_view text, const std::optional<URL>& base = std::nullopt) {
  const auto url = URL::fromString(text, base);
  EXPECT_TRUE(url) << text;
  return url.value_or(URL::fileURLWithPath("/broken"));
}

TEST(URL, PartsOfTexts) {
  struct Case {
    const char* why;
    std::string_view text;
    std::string_view scheme;
    std::string_view host;
    std::string_view path;
  };
  const Case cases[] = {
      {"all parts", "https://me@host.org:8080/a/b?q#f", "https", "host.org", "/a/b"},
      {"a scheme is shown in lower case", "HTTPS://h/", "https", "h", "/"},
      {"a trailing slash is no part of the path", "file:///a/b/", "file", "", "/a/b"},
      {"the root keeps its slash", "file:///", "file", "", "/"},
      {"escapes are decoded", "file:///a%20b/%C3%A4", "file", "", "/a b/\xC3\xA4"},
      {"a path that is not UTF-8", "file:///%FF", "file", "", "/\xFF"},
      {"an escaped slash", "file:///a%2Fb", "file", "", "/a/b"},
      {"dots stay", "file:///a/../b/.", "file", "", "/a/../b/."},
      {"no scheme", "a/b", "", "", "a/b"},
      {"only a query", "?q", "", "", ""},
      {"a host without a scheme", "//h/x", "", "h", "/x"},
      {"an address in brackets", "ssh://me@[::1]:22/x", "ssh", "[::1]", "/x"},
      {"an opaque address", "mailto:a@b", "mailto", "", "a@b"},
      {"a remote as git writes it", "git@host:o/r.git", "", "", "git@host:o/r.git"},
      {"what comes before the colon can be no scheme", "1a:b", "", "", "1a:b"},
      {"a line break in a remote", "a@b:\nx", "", "", "a@b:\nx"},
  };
  for (const Case& c : cases) {
    const URL url = urlOf(c.text);
    EXPECT_EQ(url.relativeString(), c.text) << c.why;
    EXPECT_EQ(url.absoluteString(), c.text) << c.why;
    EXPECT_EQ(url.scheme(), c.scheme) << c.why;
    EXPECT_EQ(url.host(), c.host) << c.why;
    EXPECT_EQ(url.path(), c.path) << c.why;
    EXPECT_EQ(url.isFileURL(), c.scheme == "file") << c.why;
  }
}

TEST(URL, TextsThatAreNone) {
  const std::pair<const char*, std::string_view> cases[] = {
      {"nothing", ""},
      {"a blank after a scheme", "file:///a b"},
      {"a blank in a host", "//a b/c"},
      {"a line break after a scheme", "ssh://a@b/x\n"},
      {"a byte that is not ASCII", "file:///\xC3\xA4"},
      {"half an escape", "file:///a%2"},
      {"an escape of no digits", "file:///a%zz"},
      {"a port of letters", "http://h:x/"},
      {"a negative port", "http://h:-1/"},
      {"two at signs in a host", "ssh://a@b@c/x"},
      {"brackets in a path", "http://h/[a]"},
      {"a bracket that never closes", "http://[::1/"},
      {"empty brackets", "http://[]/"},
      {"two fragments", "http://h/#a#b"},
      {"a NUL", std::string_view("file:///a\0b", 11)},
      {"a backslash", "file:///a\\b"},
      {"quotes", "\"a\""},
  };
  for (const auto& [why, text] : cases) EXPECT_FALSE(URL::fromString(text)) << why;
}

TEST(URL, WhiteSpaceStandsOnlyWhereNothingElseIsKnown) {
  EXPECT_TRUE(URL::fromString("a b"));
  EXPECT_FALSE(URL::fromString("a b", urlOf("http://h/")));
}

// The examples of RFC 3986, section 5.4.
TEST(URL, ReferencesAreResolved) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"g:h", "g:h"},
      {"g", "http://a/b/c/g"},
      {"./g", "http://a/b/c/g"},
      {"g/", "http://a/b/c/g/"},
      {"/g", "http://a/g"},
      {"//g", "http://g"},
      {"?y", "http://a/b/c/d;p?y"},
      {"g?y", "http://a/b/c/g?y"},
      {"#s", "http://a/b/c/d;p?q#s"},
      {"g#s", "http://a/b/c/g#s"},
      {";x", "http://a/b/c/;x"},
      {".", "http://a/b/c/"},
      {"./", "http://a/b/c/"},
      {"..", "http://a/b/"},
      {"../", "http://a/b/"},
      {"../g", "http://a/b/g"},
      {"../..", "http://a/"},
      {"../../g", "http://a/g"},
      {"../../../g", "http://a/g"},
      {"/./g", "http://a/g"},
      {"/../g", "http://a/g"},
      {"g.", "http://a/b/c/g."},
      {"..g", "http://a/b/c/..g"},
      {"./../g", "http://a/b/g"},
      {"./g/.", "http://a/b/c/g/"},
      {"g/./h", "http://a/b/c/g/h"},
      {"g/../h", "http://a/b/c/h"},
      {"g?y/../x", "http://a/b/c/g?y/../x"},
  };
  const URL base = urlOf("http://a/b/c/d;p?q");
  for (const auto& [reference, want] : cases) {
    const URL url = urlOf(reference, base);
    EXPECT_EQ(url.absoluteString(), want) << reference;
    EXPECT_EQ(url.relativeString(), reference);
    ASSERT_TRUE(url.base());
    EXPECT_TRUE(url.base()->isSameObject(base));
  }
}

TEST(URL, ReferencesAreResolvedWhereThePathHasNoRoot) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"c", "x:a/c"}, {"./c", "x:a/c"}, {"../c", "x:/c"}, {"c/..", "x:a/"}, {"../.", "x:/"},
  };
  const URL base = urlOf("x:a/b");
  for (const auto& [reference, want] : cases)
    EXPECT_EQ(urlOf(reference, base).absoluteString(), want) << reference;
  EXPECT_EQ(urlOf("./c", urlOf("x:a")).absoluteString(), "x:c");
  EXPECT_EQ(urlOf("../c", urlOf("x:a")).absoluteString(), "x:c");
}

TEST(URL, AReferenceToAFileIsAFile) {
  const URL url = urlOf("c%20d", urlOf("file:///a/b/"));
  EXPECT_TRUE(url.isFileURL());
  EXPECT_EQ(url.path(), "/a/b/c d");
  EXPECT_EQ(url.absoluteString(), "file:///a/b/c%20d");
}

TEST(URL, AChainOfBasesHasAnEnd) {
  std::optional<URL> url = URL::fromString("file:///a/");
  int length = 0;
  while (url && length < 1000) {
    url = URL::fromString("b/", url);
    ++length;
  }
  EXPECT_EQ(length, 65);
}

TEST(URL, FilePathsComeBackByteForByte) {
  std::mt19937 random(20);  // NOLINT(bugprone-random-generator-seed): the same paths each time
  for (int round = 0; round < 500; ++round) {
    std::string path;
    for (std::size_t length = random() % 40 + 1; path.size() < length;) {
      const char c = static_cast<char>(random() & 0xFF);
      if (path.empty() || path.back() == '/' ? c == '/' : false) continue;
      path += path.empty() ? std::string("/") + c : std::string(1, c);
    }
    while (path.back() == '/') path.pop_back();
    const URL url = URL::fileURLWithPath(path);
    EXPECT_EQ(url.path(), path);
    EXPECT_TRUE(url.isFileURL());
    const auto again = URL::fromString(url.absoluteString());
    ASSERT_TRUE(again) << url.absoluteString();
    EXPECT_EQ(again->path(), path);
    EXPECT_EQ(again->hash(), url.hash());
  }
}

TEST(URL, FilePathsAreMadePlain) {
  struct Case {
    std::string_view path;
    bool isDirectory;
    std::string_view want;
  };
  const Case cases[] = {
      {"/a/b", false, "file:///a/b"},
      {"/a/b", true, "file:///a/b/"},
      {"/a/b/", false, "file:///a/b"},
      {"//a///b//", true, "file:///a/b/"},
      {"/", false, "file:///"},
      {"/", true, "file:///"},
      {"", false, "file:///"},
      {"a", false, "file:///a"},
      {"/a/../b/.", false, "file:///a/../b/."},
      {"/a b?c#d%e[f]", false, "file:///a%20b%3Fc%23d%25e%5Bf%5D"},
      {"/\xC3\xA4\xFF", false, "file:///%C3%A4%FF"},
      {"/it's (1), @home: a&b=c;d+e$f*!~-._", false,
       "file:///it's%20(1),%20@home:%20a&b=c;d+e$f*!~-._"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(URL::fileURLWithPath(c.path, c.isDirectory).absoluteString(), c.want);
}

TEST(URL, LastPathComponents) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"file:///a/b.txt", "b.txt"},
      {"file:///a/b/", "b"},
      {"file:///", "/"},
      {"http://h", ""},
      {"x", "x"},
      {"file:///a%2Fb", "b"},
  };
  for (const auto& [text, want] : cases) EXPECT_EQ(urlOf(text).lastPathComponent(), want) << text;
}

TEST(URL, TheFolderOfAPathIsFoundInItsText) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"file:///a/b", "file:///a/"},
      {"file:///a/b/", "file:///a/"},
      {"file:///a", "file:///"},
      {"file:///a/..", "file:///a/"},
      {"file:///a%20b/c", "file:///a%20b/"},
  };
  for (const auto& [text, want] : cases) {
    const auto parent = urlOf(text).deletingLastPathComponent();
    ASSERT_TRUE(parent) << text;
    EXPECT_EQ(parent->absoluteString(), want) << text;
  }
  for (const std::string_view text : {"file:///", "http://h/a/b", "a/b", "file:a/b", "file:"})
    EXPECT_FALSE(urlOf(text).deletingLastPathComponent()) << text;
}

TEST(URL, HashesAreOfTheTextAlone) {
  EXPECT_EQ(urlOf("file:///a").hash(), urlOf("file:///a").hash());
  EXPECT_NE(urlOf("file:///a").hash(), urlOf("file:///a/").hash());
  EXPECT_EQ(urlOf("b", urlOf("http://h/a/")).hash(), urlOf("http://h/a/b").hash());
}

TEST(URL, CopiesAreTheSameObject) {
  const URL url = URL::fileURLWithPath("/a");
  const URL copy = url;  // NOLINT(performance-unnecessary-copy-initialization): it is the subject
  EXPECT_TRUE(url.isSameObject(copy));
  EXPECT_FALSE(url.isSameObject(URL::fileURLWithPath("/a")));
}

TEST(UrlSyntax, AnEscapeThatIsNoneIsLeftAlone) {
  for (const char* text : {"%", "a%", "a%2", "a%%", "%z1", "%1z", "%zz", "% 41"})
    EXPECT_EQ(percentDecoded(text), text);
  EXPECT_EQ(percentDecoded("%zz%41%4a%4A"), "%zzAJJ");
  EXPECT_EQ(percentDecoded("%%41%4%42"), "%A%4B");
  EXPECT_EQ(percentDecoded("%2541"), "%41") << "once only";
}

}  // namespace
}  // namespace kelpie
