#include "platform/macos/Objects.h"

#include <gtest/gtest.h>

#include <limits>

#include "archive/KeyedUnarchiver.h"
#include "foundation/Dictionary.h"
#include "foundation/MenuItem.h"
#include "macos/CodedIdentifier.h"
#include "platform/macos/FileIdentity.h"
#include "platform/macos/MacMessagePorts.h"
#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"
#include "platform/macos/Urls.h"
#include "refs/KPReference.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

Object reference() {
  return {std::shared_ptr<const Archivable>(std::make_shared<const KPReference>(1, "main"))};
}

// An array in an array in an array …
id nested(int levels) {
  id object = @"innermost";
  for (int i = 0; i < levels; ++i) object = [NSArray arrayWithObject:object];
  return object;
}

TEST(Objects, GoToThePlatformAndBackUnchanged) {
  const struct {
    const char* why;
    Object value;
  } cases[] = {
      {"a boolean", Object(true)},
      {"another one", Object(false)},
      {"a negative number", Object(-7)},
      {"a number of two digits", Object(42)},
      {"the greatest number", Object(std::numeric_limits<std::uint64_t>::max())},
      {"the least number", Object(std::numeric_limits<std::int64_t>::min())},
      {"a real", Object(2.5)},
      {"text beyond ASCII", Object("Git-Flow \xE2\x80\xA6")},
      {"no text", Object("")},
      {"data with a zero", Object(Bytes{1, 0, 2})},
      {"a date", Object::date(12.5)},
      {"an address", Object(*URL::fromString("ssh://git@example.org/a/b%20c"))},
      {"a list", Object(Objects{Object("a"), Object(1)})},
      {"a set", Object::set({Object("a"), Object("b")})},
      {"a dictionary", Object(Dictionary{{"a", 1}, {2, Objects{Object("b")}}})},
      {"an error", Object(Error{"KPGitErrorDomain", -1, Dictionary{{"a", "b"}}})},
  };
  for (const auto& c : cases) {
    @autoreleasepool {
      const Object back = objectOf(nsObject(c.value));
      EXPECT_EQ(back.kind(), c.value.kind()) << c.why;
      EXPECT_TRUE(back.isEqual(c.value)) << c.why << ": " << back.description();
    }
  }
}

TEST(Objects, OfOneByteAreBooleansByTheirTypeOnly) {
  @autoreleasepool {
    EXPECT_EQ(objectOf([NSNumber numberWithBool:YES]).kind(), Object::Kind::Boolean);
    EXPECT_EQ(objectOf([NSNumber numberWithBool:NO]).kind(), Object::Kind::Boolean);
    EXPECT_EQ(objectOf([NSNumber numberWithChar:1]).kind(), Object::Kind::Integer);
    EXPECT_EQ(objectOf([NSNumber numberWithUnsignedChar:0]).kind(), Object::Kind::Integer);
  }
}

TEST(Objects, WithoutAnObjectOfThePlatformAreNil) {
  EXPECT_EQ(nsObject(Object()), nil);
  EXPECT_EQ(nsObject(Object("\xFF")), nil) << "no UTF-8";
  EXPECT_EQ(nsObject(reference()), nil);
  EXPECT_EQ(nsObject(Object(Objects{Object("a"), reference()})), nil) << "not a list of one";
  EXPECT_EQ(nsObject(Dictionary{{"a", reference()}}), nil);
}

TEST(Objects, OfClassesThatNobodyKnowsAreLeftOut) {
  @autoreleasepool {
    EXPECT_TRUE(objectOf(nil).isNil());
    EXPECT_TRUE(objectOf([NSNull null]).isNil());
    id const mixed = [NSArray arrayWithObjects:@"a", [NSNull null], @"b", nil];
    EXPECT_EQ(objectOf(mixed).size(), 2U);
  }
}

TEST(Objects, NestAsDeepAsIsAllowedAndNoDeeper) {
  @autoreleasepool {
    EXPECT_EQ(objectOf(nested(3)).at(0).at(0).at(0).stringValue(), "innermost");
    Object object = objectOf(nested(5'000));
    int levels = 0;
    while (object.isArray() && object.size() > 0) {
      object = object.at(0);
      ++levels;
    }
    EXPECT_EQ(levels, kDeepestNesting);
  }
}

TEST(Urls, OfFileReferencesArePaths) {
  @autoreleasepool {
    const TemporaryFolder folder;
    NSURL* const path = [NSURL fileURLWithPath:nsString(folder.path())];
    EXPECT_EQ(urlOf([path fileReferenceURL])->path(), folder.path());
    EXPECT_FALSE(urlOf([NSURL URLWithString:@"file:///.file/id=1.2"])) << "a file that is gone";
    EXPECT_FALSE(urlOf(nil));
  }
}

TEST(FileIdentity, ThatIsDataIsThatData) {
  @autoreleasepool {
    const Bytes bytes = {1, 2, 3};
    EXPECT_EQ(fileIdentifierOf(nsData(bytes)), FileIdentifier(bytes));
    EXPECT_FALSE(fileIdentifierOf(nil));
  }
}

// A message that bears it must find the repository, and the answer must bear the object itself.
TEST(FileIdentity, OfAnotherClassEqualsTheOneInAMessage) {
  @autoreleasepool {
    CodedIdentifier* const object = [[[CodedIdentifier alloc] initWithName:@"one"] autorelease];
    CodedIdentifier* const other = [[[CodedIdentifier alloc] initWithName:@"two"] autorelease];
    const auto identifier = fileIdentifierOf(object);
    ASSERT_TRUE(identifier);
    EXPECT_TRUE(identifier->isArchivedForm());
    EXPECT_NE(identifier, fileIdentifierOf(other));

    NSData* const message = [NSKeyedArchiver
        archivedDataWithRootObject:[NSDictionary dictionaryWithObject:object forKey:@"target"]];
    const Object received = KeyedUnarchiver::unarchiveObject(bytesOfData(message));
    EXPECT_EQ(FileIdentifier::fromObject(received["target"]), identifier);

    EXPECT_TRUE([object isEqual:nsObject(identifier->toObject())]);
  }
}

TEST(Messages, AreArchivedByThePlatform) {
  @autoreleasepool {
    MenuItem item("Stage", "stage:");
    item.tag = 5;
    const auto archive = MacMessagePorts().archivedMessage(
        Dictionary{{"KPMessageSender",
                    std::shared_ptr<const Archivable>(std::make_shared<const MenuItem>(item))}});
    ASSERT_TRUE(archive);
    NSDictionary* const message = [NSKeyedUnarchiver unarchiveObjectWithData:nsData(*archive)];
    EXPECT_EQ([[message objectForKey:@"KPMessageSender"] tag], 5);
  }
}

TEST(Messages, ThatThePlatformHasNoObjectsForAreArchivedByTheCore) {
  const auto archive =
      MacMessagePorts().archivedMessage(Dictionary{{"a", reference()}, {"b", "text"}});
  ASSERT_TRUE(archive);
  const Object message = KeyedUnarchiver::unarchiveObject(*archive);
  EXPECT_EQ(message["b"].stringValue(), "text");
  EXPECT_FALSE(message["a"].isNil());
}

}  // namespace
}  // namespace kelpie
