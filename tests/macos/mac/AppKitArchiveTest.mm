#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/MenuItem.h"
#include "platform/macos/FileIdentity.h"
#include "platform/macos/MenuConversion.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "support/TemporaryFolder.h"

// Archives of AppKit's and Foundation's own, and the core's.
namespace kelpie {
namespace {

MenuItem chosenItem() {
  MenuItem item("Stage \"a.txt\"", "stage:");
  item.tag = -1;
  item.state = 1;
  item.representedObject = Objects{Object("a")};
  return item;
}

id unarchived(NSData* archive) {
  NSError* error = nil;
  NSKeyedUnarchiver* const unarchiver =
      [[[NSKeyedUnarchiver alloc] initForReadingFromData:archive error:&error] autorelease];
  [unarchiver setRequiresSecureCoding:NO];
  return [[[unarchiver decodeObjectForKey:NSKeyedArchiveRootObjectKey] retain] autorelease];
}

TEST(AppKitArchive, OfAMenuItemIsReadByTheCore) {
  @autoreleasepool {
    NSData* const archive = nsArchive(nsMenuItem(chosenItem(), MenuImages::LeftOut));
    ASSERT_NE(archive, nil);
    const auto item = KeyedUnarchiver::unarchiveObject(bytesOfData(archive)).as<MenuItem>();
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->title, chosenItem().title);
    EXPECT_EQ(item->action, chosenItem().action);
    EXPECT_EQ(item->tag, -1);
    EXPECT_EQ(item->state, 1);
    EXPECT_TRUE(item->representedObject.isEqual(chosenItem().representedObject));
    EXPECT_EQ(item->submenu, nullptr);
  }
}

TEST(AppKitArchive, OfTheCoreIsReadByAppKit) {
  @autoreleasepool {
    const auto archive = KeyedArchiver::archivedData(
        Object(std::shared_ptr<const Archivable>(std::make_shared<const MenuItem>(chosenItem()))));
    ASSERT_TRUE(archive);
    NSMenuItem* const item = unarchived(nsData(*archive));
    ASSERT_TRUE([item isKindOfClass:[NSMenuItem class]]);
    EXPECT_EQ(stdString([item title]), chosenItem().title);
    EXPECT_STREQ(sel_getName([item action]), "stage:");
    EXPECT_EQ([item tag], -1);
    EXPECT_EQ([item state], 1);
    EXPECT_TRUE([[item representedObject] isEqual:[NSArray arrayWithObject:@"a"]]);
  }
}

// Whatever the system names files with, it must find its repository when it comes in a message, and
// be itself again when it goes out.
TEST(AppKitArchive, OfAFilesIdentifierIsTheSameInBothDirections) {
  @autoreleasepool {
    const TemporaryFolder folder;
    id identifier = nil;
    [[NSURL fileURLWithPath:nsString(folder.path())] getResourceValue:&identifier
                                                               forKey:NSURLFileResourceIdentifierKey
                                                                error:nullptr];
    ASSERT_NE(identifier, nil);
    RecordProperty("class", stdString(NSStringFromClass([identifier class])));
    const auto own = fileIdentifierOf(identifier);
    ASSERT_TRUE(own);

    NSDictionary* const message = [NSDictionary dictionaryWithObject:identifier forKey:@"target"];
    const Object received = KeyedUnarchiver::unarchiveObject(bytesOfData(nsArchive(message)));
    EXPECT_EQ(FileIdentifier::fromObject(received["target"]), own);

    EXPECT_TRUE([identifier isEqual:nsObject(own->toObject())]);
  }
}

}  // namespace
}  // namespace kelpie
