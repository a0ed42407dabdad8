#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "macos/CodedIdentifier.h"
#include "macos/linux/ScriptedHost.h"
#include "macos/system/Dispatch.h"
#include "macos/system/Entitlements.h"
#include "macos/system/Files.h"
#include "macos/system/FinderSync.h"
#include "macos/system/MessagePorts.h"
#include "macos/system/NotificationCenter.h"
#include "macos/system/RunningApplications.h"
#include "macos/system/SuiteDefaults.h"
#include "platform/macos/MacFinderSyncController.h"
#include "platform/macos/Strings.h"
#include "support/MenuActions.h"

// The Objective-C principal class as the Finder runs it, from its start to the main application's
// end.
namespace kelpie {
namespace {

NSString* const kOtherGroup = @"group.org.other";

class Glue : public testing::Test {
 protected:
  Glue() { [[HostFinder finder] reset]; }

  // A status with these words: path below the host's folder, status word.
  NSDictionary* status(std::initializer_list<std::pair<const char*, int>> words) const {
    NSMutableDictionary* const entries = [NSMutableDictionary dictionary];
    for (const auto& [path, word] : words)
      [entries setObject:[NSArray arrayWithObjects:[NSNumber numberWithInt:word],
                                                   [host.url(path) path], nil]
                  forKey:host.identifier(path)];
    return [NSDictionary dictionaryWithObject:entries forKey:@"KPRepositoryStatus"];
  }

  // A started extension with an open working copy, in which "a.txt" is modified.
  void startWithRepository() {
    host.startApplication();
    ASSERT_NE(host.start(), nil);
    host.openRepository();
    host.send(@"setStatusInfo:", status({{"repo/a.txt", 0x0100}}), host.identifier("repo"));
    [host.extension() requestBadgeIdentifierForURL:host.url("repo/a.txt")];
    ASSERT_TRUE(
        host.runUntil([&] { return host.badge("repo/a.txt") == "KPWorkdirModifiedBadge"; }));
    host.forgetMessages();
  }

  // The contextual menu of these items.
  NSMenu* menuOf(NSArray* urls) {
    [[HostFinder finder] select:urls targeted:nil];
    return [host.extension() menuForMenuKind:FIMenuKindContextualMenuForItems];
  }

  // The main application's next action message.
  NSDictionary* actionMessage() {
    EXPECT_TRUE(host.runUntil([&] { return !host.messages(nil).empty(); }));
    const auto found = host.messages(nil);
    return found.empty() ? nil : found.front().content.get();
  }

  bool hears(NSString* selector) {
    return host.runUntil([&] { return !host.messages(selector).empty(); });
  }

  // Whether the Finder comes to report that many folders.
  bool reportsFolders(std::size_t count) {
    return host.runUntil([&] { return [[[HostFinder finder] directoryURLs] count] == count; });
  }

  std::string posted() const {
    std::string all;
    for (NSArray* notification in [[HostNotificationCenter center] posted])
      all += stdString([notification componentsJoinedByString:@" "]) + "\n";
    return all;
  }

  ScriptedHost host;
};

// -- Start-up -------------------------------------------------------------------------------------

TEST_F(Glue, TheClassSetUpRegistersEveryBadge) {
  ASSERT_NE(host.start(), nil);
  EXPECT_EQ([[HostFinder finder] badgeImageCount], 13U);
  NSImage* const image = [[HostFinder finder] badgeImage:@"KPConflictedBadge"];
  EXPECT_EQ(stdString([image name]), "ConflictedBadge");
  EXPECT_EQ([image isTemplate], NO);
}

TEST_F(Glue, StartingOpensAPortNamedAfterGroupAndProcess) {
  NSString* const name =
      [NSString stringWithFormat:@"%@.Sync.%d", ScriptedHost::kGroup,
                                 [[NSProcessInfo processInfo] processIdentifier]];
  EXPECT_FALSE(system::isPortOpen(name));
  ASSERT_NE(host.start(), nil);
  EXPECT_TRUE(system::isPortOpen(name));
  EXPECT_EQ([[HostSuiteDefaults suiteNamed:ScriptedHost::kGroup] observerCount], 1U);
  host.stop();
  EXPECT_FALSE(system::isPortOpen(name));
  EXPECT_EQ([[HostSuiteDefaults suiteNamed:ScriptedHost::kGroup] observerCount], 0U);
}

TEST_F(Glue, TheToolbarItemHasItsNameAndItsIcon) {
  ASSERT_NE(host.start(), nil);
  EXPECT_EQ(stdString([host.extension() toolbarItemName]), "KElpie");
  EXPECT_EQ(stdString([host.extension() toolbarItemToolTip]), "");
  NSImage* const image = [host.extension() toolbarItemImage];
  EXPECT_EQ(stdString([image name]), "StatusItemIcon");
  EXPECT_EQ([image isTemplate], YES);
}

TEST_F(Glue, EveryActionHasAMethodAndNothingElseHas) {
  ASSERT_NE(host.start(), nil);
  const auto expectMethod = [this](std::string_view action) {
    EXPECT_TRUE([host.extension() respondsToSelector:sel_registerName(action.data())]) << action;
  };
  for (const std::string_view action : kRepositoryActions) expectMethod(action);
  for (const std::string_view action : kApplicationActions) expectMethod(action);
  for (const std::string_view action : kCreationActions) expectMethod(action);
  expectMethod("remoteRepositoryAction:");
  for (const char* other : {"openRepositoryWithUrls:", "setRepositories:", "erase:"})
    EXPECT_FALSE([host.extension() respondsToSelector:sel_registerName(other)]) << other;
}

TEST_F(Glue, AnApplicationOfTheSameVersionIsTold) {
  host.startApplication();
  ASSERT_NE(host.start(), nil);
  ASSERT_TRUE(hears(@"pingPortName:"));
  const ScriptedHost::Message ping = host.messages(@"pingPortName:").front();
  EXPECT_EQ(ping.id, 1);
  NSString* const name = [ping.content.get() objectForKey:@"KPMessageArgument"];
  EXPECT_TRUE(system::isPortOpen(name)) << stdString(name);
  EXPECT_TRUE([[ping.content.get() objectForKey:@"KPMessagePortName"] isEqual:name]);
}

TEST_F(Glue, AnApplicationOfAnotherVersionIsNone) {
  host.startApplication(@"2");
  ASSERT_NE(host.start(), nil);
  NSMenu* const menu = [host.extension() menuForMenuKind:FIMenuKindToolbarItemMenu];
  ASSERT_EQ([menu numberOfItems], 1);
  EXPECT_EQ(stdString([[menu itemAtIndex:0] title]), "Kelpie is not running");
  EXPECT_FALSE([[menu itemAtIndex:0] isEnabled]);
  EXPECT_EQ(menuOf([NSArray arrayWithObject:host.url("repo")]), nil);
}

TEST_F(Glue, AnApplicationThatStartsLaterAnnouncesItself) {
  ASSERT_NE(host.start(), nil);
  host.startApplication();
  host.post(@"KPApplicationRunning");
  EXPECT_TRUE(hears(@"pingPortName:"));
}

TEST_F(Glue, WithoutAnEntitlementTheExtensionRunsAndSaysSo) {
  host.start();  // the settings of the group are opened
  host.stop();
  system::setEntitlement(nil);
  ASSERT_NE(host.start(), nil);
  EXPECT_NE(posted().find("KPAppMessage"), std::string::npos) << posted();
  system::setSignatureReadable(false);
  host.stop();
  EXPECT_NE(host.start(), nil);
}

// The ping cannot name the port that is missing: that ends the start, not the process.
TEST_F(Glue, WithoutAPortToNameThereIsNoExtensionAndNoException) {
  host.start();
  host.stop();
  host.startApplication();
  system::setEntitlement(nil);
  EXPECT_EQ(host.start(), nil);
}

// -- Several instances ----------------------------------------------------------------------------

TEST_F(Glue, WhatTheFinderSaysWhileAnInstanceIsMadeIsNotLost) {
  host.startApplication();
  [[HostFinder finder] showEarly:host.url("repo")];
  ASSERT_NE(host.start(), nil);
  EXPECT_EQ(stdString([[HostFinder finder] earlyName]), "KElpie");
  ASSERT_TRUE(hears(@"openRepository:portName:"));
  EXPECT_EQ(host.messages(@"openRepository:portName:").size(), 1U);
}

// Open and save dialogs have instances of their own, maybe in one process.
TEST_F(Glue, ASecondInstanceSharesTheControllerOfTheFirst) {
  startWithRepository();
  auto dialog = Retained<PrincipalClass*>::adopt([[PrincipalClass alloc] init]);
  ASSERT_NE(dialog.get(), nil);
  EXPECT_TRUE(host.messages(@"showError:").empty());
  EXPECT_EQ([[HostSuiteDefaults suiteNamed:ScriptedHost::kGroup] observerCount], 1U);
  [dialog.get() requestBadgeIdentifierForURL:host.url("repo/b.txt")];
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/b.txt") == "KPCurrentBadge"; }));

  dialog = {};
  host.send(@"setStatusInfo:", status({{"repo/a.txt", 0x8000}}), host.identifier("repo"));
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/a.txt") == "KPConflictedBadge"; }));
}

TEST_F(Glue, AFolderThatADialogLeavesIsStillShownByTheFinder) {
  startWithRepository();
  {
    const auto closed = Retained<PrincipalClass*>::adopt([[PrincipalClass alloc] init]);
    [closed.get() beginObservingDirectoryAtURL:host.url("repo")];
  }
  const auto dialog = Retained<PrincipalClass*>::adopt([[PrincipalClass alloc] init]);
  [dialog.get() beginObservingDirectoryAtURL:host.url("repo")];
  [dialog.get() endObservingDirectoryAtURL:host.url("repo")];
  // What is asked last is answered last.
  [dialog.get() requestBadgeIdentifierForURL:host.url("repo/gone.txt")];
  ASSERT_TRUE(host.runUntil([&] { return host.badge("repo/gone.txt") == "KPEmptyBadge"; }));
  host.send(@"setStatusInfo:", status({{"repo/a.txt", 0x8000}}), host.identifier("repo"));
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/a.txt") == "KPConflictedBadge"; }));
}

TEST_F(Glue, AnInstanceThatGoesOnAnotherThreadLetsTheControllerGoOnTheMainOne) {
  Retained<PrincipalClass*> dialog =
      Retained<PrincipalClass*>::adopt([[PrincipalClass alloc] init]);
  NSString* const name =
      [NSString stringWithFormat:@"%@.Sync.%d", ScriptedHost::kGroup,
                                 [[NSProcessInfo processInfo] processIdentifier]];
  std::thread([&dialog] { dialog = {}; }).join();
  EXPECT_TRUE(system::isPortOpen(name)) << "it waits for the main thread";
  EXPECT_TRUE(host.runUntil([&] { return !system::isPortOpen(name); }));
}

TEST_F(Glue, APortNameThatAnotherProcessHasIsReported) {
  system::takePortName([NSString stringWithFormat:@"%@.Sync.%d", kOtherGroup,
                                                  [[NSProcessInfo processInfo] processIdentifier]]);
  host.start();  // the settings of the group are opened
  host.stop();
  system::setEntitlement([NSArray arrayWithObject:kOtherGroup]);
  EXPECT_NE(host.start(), nil);
  EXPECT_NE(posted().find("error creating"), std::string::npos) << posted();
}

// -- Folders and settings -------------------------------------------------------------------------

TEST_F(Glue, TheFoldersOfTheSettingsAreHandedToTheFinder) {
  ASSERT_NE(host.start(), nil);
  host.observeFolders([NSArray arrayWithObject:[host.url("repo") hostBookmark]]);
  ASSERT_TRUE(reportsFolders(1));
  NSURL* const folder = [[[HostFinder finder] directoryURLs] anyObject];
  EXPECT_TRUE([folder isFileReferenceURL]);
  EXPECT_TRUE([[[folder filePathURL] path] isEqual:[host.url("repo") path]]);
  host.observeFolders([NSArray array]);
  EXPECT_TRUE(reportsFolders(0));
}

TEST_F(Glue, ABookmarkThatNobodyCanResolveIsReportedAndChangesNothing) {
  host.startApplication();
  ASSERT_NE(host.start(), nil);
  host.observeFolders([NSArray arrayWithObject:[host.url("repo") hostBookmark]]);
  ASSERT_TRUE(reportsFolders(1));
  NSData* const foreign = [@"another user's" dataUsingEncoding:NSUTF8StringEncoding];
  host.observeFolders([NSArray arrayWithObject:foreign]);
  ASSERT_TRUE(hears(@"showError:"));
  NSError* const error =
      [host.messages(@"showError:").front().content.get() objectForKey:@"KPMessageArgument"];
  ASSERT_TRUE([error isKindOfClass:[NSError class]]);
  EXPECT_TRUE([[error domain] isEqual:NSCocoaErrorDomain]);
  EXPECT_EQ([error code], 259);
  EXPECT_EQ([[[HostFinder finder] directoryURLs] count], 1U);
}

// -- The whole way --------------------------------------------------------------------------------

TEST_F(Glue, AFolderThatComesIntoViewIsAskedFor) {
  host.startApplication();
  ASSERT_NE(host.start(), nil);
  [host.extension() beginObservingDirectoryAtURL:host.url("repo")];
  ASSERT_TRUE(hears(@"openRepository:portName:"));
  NSDictionary* const request = [host.messages(@"openRepository:portName:").front().content.get()
      objectForKey:@"KPMessageArgument"];
  EXPECT_TRUE([[[request objectForKey:@"url"] path] isEqual:[host.url("repo") path]]);
  EXPECT_EQ([[request objectForKey:@"shallow"] boolValue], NO);
}

TEST_F(Glue, AStatusBecomesBadges) {
  startWithRepository();
  [host.extension() requestBadgeIdentifierForURL:host.url("repo/b.txt")];
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/b.txt") == "KPCurrentBadge"; }));
  host.send(@"setStatusInfo:", status({{"repo/a.txt", 0x8000}, {"repo/b.txt", 0x0001}}),
            host.identifier("repo"));
  EXPECT_TRUE(host.runUntil([&] {
    return host.badge("repo/a.txt") == "KPConflictedBadge" &&
           host.badge("repo/b.txt") == "KPIndexNewBadge";
  }));
}

// The repository is opened by a reference: its identifier and its items stay, wherever it goes.
TEST_F(Glue, AWorkingCopyThatIsMovedWhileItIsOpenStaysOpen) {
  startWithRepository();
  std::filesystem::rename([[host.url("repo") path] UTF8String],
                          [[host.url("moved") path] UTF8String]);
  [host.extension() requestBadgeIdentifierForURL:host.url("moved/a.txt")];
  EXPECT_TRUE(host.runUntil([&] { return host.badge("moved/a.txt") == "KPWorkdirModifiedBadge"; }));
  host.send(@"setStatusInfo:", status({{"moved/a.txt", 0x8000}}), host.identifier("moved"));
  EXPECT_TRUE(host.runUntil([&] { return host.badge("moved/a.txt") == "KPConflictedBadge"; }));
  EXPECT_NE(itemWithAction(menuOf([NSArray arrayWithObject:host.url("moved/a.txt")]), "resolve:"),
            nil);
}

TEST_F(Glue, ABadgeWithoutAnImageIsRegisteredWithoutOne) {
  MacFinderSyncController().setBadgeImage({"NoSuchImage"}, "", "KPTestBadge");
  EXPECT_EQ(static_cast<id>([[HostFinder finder] badgeImage:@"KPTestBadge"]), [NSNull null]);
}

TEST_F(Glue, AChosenItemReachesTheApplicationAsAppKitsOwn) {
  startWithRepository();
  NSMenu* const menu = menuOf([NSArray arrayWithObject:host.url("repo/a.txt")]);
  ASSERT_NE(menu, nil);
  EXPECT_TRUE([[[menu itemAtIndex:0] title] isEqual:@"Git Repository"]);
  EXPECT_EQ(stdString([[[menu itemAtIndex:0] image] name]), "ApplicationIcon");
  EXPECT_FALSE([[menu itemAtIndex:0] isEnabled]);
  NSMenuItem* const item = itemWithAction(menu, "stage:");
  ASSERT_NE(item, nil);
  EXPECT_TRUE([item isEnabled]);

  host.choose(item);
  NSDictionary* const message = actionMessage();
  NSMenuItem* const sent = [message objectForKey:@"KPMessageSender"];
  ASSERT_TRUE([sent isKindOfClass:[NSMenuItem class]]);
  EXPECT_EQ(stdString([sent title]), stdString([item title]));
  EXPECT_EQ([sent tag], [item tag]);
  EXPECT_STREQ(sel_getName([sent action]), "stage:");
  NSArray* const files = [sent representedObject];
  ASSERT_EQ([files count], 1U);
  EXPECT_TRUE([[[files objectAtIndex:0] path] isEqual:[host.url("repo/a.txt") path]]);
  EXPECT_TRUE([[message objectForKey:@"KPMessageTarget"] isEqual:host.identifier("repo")]);
  EXPECT_EQ(host.messages(nil).front().id, 0);
}

TEST_F(Glue, AnItemOfASubmenuIsFoundByActionAndTag) {
  startWithRepository();
  NSMenu* const menu = menuOf([NSArray arrayWithObject:host.url("repo/a.txt")]);
  NSMenuItem* const item = itemWithAction(menu, "externalDiff:");
  ASSERT_NE(item, nil);
  ASSERT_EQ(stdString([[item menu] title]), "More");
  host.choose(item);
  NSMenuItem* const sent = [actionMessage() objectForKey:@"KPMessageSender"];
  EXPECT_STREQ(sel_getName([sent action]), "externalDiff:");
  EXPECT_EQ([sent tag], [item tag]);
}

// Their parents bear the same action and the same tag.
TEST_F(Glue, AWayOutOfAConflictIsSentAndNotItsParent) {
  startWithRepository();
  host.send(@"setStatusInfo:", status({{"repo/a.txt", 0x8000}}), host.identifier("repo"));
  ASSERT_TRUE(host.runUntil([&] { return host.badge("repo/a.txt") == "KPConflictedBadge"; }));
  host.showFileItems(
      [NSArray arrayWithObjects:[NSNumber numberWithInt:-11], [NSNumber numberWithInt:-12], nil]);
  for (NSString *title in
       [NSArray arrayWithObjects:@"Mark as Resolved", @"Restore Unmerged", nil]) {
    host.forgetMessages();
    NSMenu* const menu = menuOf([NSArray arrayWithObject:host.url("repo/a.txt")]);
    NSMenuItem* const item = itemWithTitle(menu, title);
    ASSERT_NE(item, nil) << stdString(title);
    EXPECT_EQ([item tag], 0);
    host.choose(item);
    NSMenuItem* const sent = [actionMessage() objectForKey:@"KPMessageSender"];
    EXPECT_EQ(stdString([sent title]), stdString(title));
    EXPECT_STREQ(sel_getName([sent action]), sel_getName([item action]));
    EXPECT_FALSE([sent hasSubmenu]);
    EXPECT_EQ([[sent representedObject] count], 1U) << stdString(title);
  }
}

// The status finds the repository and its items, and the answer bears the object itself.
TEST_F(Glue, IdentifiersThatAreNoDataAreTheSameInBothDirections) {
  system::setIdentifiersOpaque(true);
  startWithRepository();
  host.choose(itemWithAction(menuOf([NSArray arrayWithObject:host.url("repo/a.txt")]), "stage:"));
  id const target = [actionMessage() objectForKey:@"KPMessageTarget"];
  EXPECT_TRUE([target isKindOfClass:[CodedIdentifier class]]);
  EXPECT_TRUE([target isEqual:host.identifier("repo")]);
}

TEST_F(Glue, AFolderOutsideOfAnyRepositoryCanBeClonedInto) {
  host.startApplication();
  ASSERT_NE(host.start(), nil);
  [[HostFinder finder] select:[NSArray array] targeted:host.url("repo")];
  NSMenu* const menu = [host.extension() menuForMenuKind:FIMenuKindContextualMenuForContainer];
  host.choose(itemWithAction(menu, "clone:"));
  ASSERT_TRUE(hears(@"cloneRepositoryWithUrl:portName:"));
  NSDictionary* const request =
      host.messages(@"cloneRepositoryWithUrl:portName:").front().content.get();
  EXPECT_TRUE([[[request objectForKey:@"KPMessageArgument"] path] isEqual:[host.url("repo") path]]);
}

TEST_F(Glue, WhenTheApplicationEndsItsBadgesGo) {
  startWithRepository();
  host.killApplication();
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/a.txt") == "KPEmptyBadge"; }));
  NSMenu* const menu = [host.extension() menuForMenuKind:FIMenuKindToolbarItemMenu];
  EXPECT_EQ(stdString([[menu itemAtIndex:0] title]), "Kelpie is not running");

  // What was on screen is asked for again when it comes back.
  host.observeFolders([NSArray arrayWithObject:[host.url("") hostBookmark]]);
  ASSERT_TRUE(reportsFolders(1));
  host.forgetMessages();
  host.startApplication();
  host.post(@"KPApplicationRunning");
  ASSERT_TRUE(hears(@"openRepository:portName:"));
  NSDictionary* const request = [host.messages(@"openRepository:portName:").front().content.get()
      objectForKey:@"KPMessageArgument"];
  EXPECT_EQ([[request objectForKey:@"shallow"] boolValue], YES);
}

// Each announcement starts a watch; all of them see the end, and none of them stays.
TEST_F(Glue, WatchesThatWereReplacedEndWithTheApplication) {
  startWithRepository();
  host.post(@"KPApplicationRunning");
  host.post(@"KPApplicationRunning");
  EXPECT_TRUE(host.runUntil([] { return system::processSources() == 3; }));
  host.signalApplication();
  EXPECT_EQ(host.badge("repo/a.txt"), "KPEmptyBadge") << "any signal counts as the end";
  EXPECT_TRUE(host.runUntil([] { return system::processSources() == 0; }));

  // Nobody is left to take a second signal for the end of what was announced since.
  host.post(@"KPApplicationRunning");
  EXPECT_TRUE(host.runUntil([] { return system::processSources() == 1; }));
}

TEST_F(Glue, ASendThatFailsIsReportedByNotification) {
  startWithRepository();
  system::setSendStatus(-1);
  host.choose(itemWithAction(menuOf([NSArray arrayWithObject:host.url("repo/a.txt")]), "stage:"));
  EXPECT_NE(posted().find("sending message to application, status -1."), std::string::npos)
      << posted();
}

// -- Bad input ------------------------------------------------------------------------------------

TEST_F(Glue, NilUrlsAreNothing) {
  startWithRepository();
  [host.extension() beginObservingDirectoryAtURL:nil];
  [host.extension() endObservingDirectoryAtURL:nil];
  [host.extension() requestBadgeIdentifierForURL:nil];
  [host.extension() requestBadgeIdentifierForURL:static_cast<NSURL*>(static_cast<id>(@"text"))];
  [host.extension() requestBadgeIdentifierForURL:[NSURL URLWithString:@"https://example.org/a"]];
  [[HostFinder finder] select:nil targeted:nil];
  EXPECT_NE([host.extension() menuForMenuKind:FIMenuKindContextualMenuForItems], nil);
}

TEST_F(Glue, AFileWithoutAnIdentifierStaysBare) {
  startWithRepository();
  [host.extension() requestBadgeIdentifierForURL:host.url("repo/gone.txt")];
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/gone.txt") == "KPEmptyBadge"; }));
}

TEST_F(Glue, AnItemOfNoMenuOfOursIsNothing) {
  startWithRepository();
  NSMenuItem* const known =
      itemWithAction(menuOf([NSArray arrayWithObject:host.url("repo/a.txt")]), "stage:");
  NSMenuItem* const foreign = [[[NSMenuItem alloc] initWithTitle:@"Stage"
                                                          action:@selector(stage:)
                                                   keyEquivalent:@""] autorelease];
  [foreign setTag:4711];
  NSMenuItem* const other = [[[NSMenuItem alloc] initWithTitle:@"Unstage"
                                                        action:@selector(unstage:)
                                                 keyEquivalent:@""] autorelease];
  [other setTag:[known tag]];
  for (id sender in [NSArray arrayWithObjects:foreign, other, @"a text", [NSNull null], nil])
    [host.extension() performSelector:@selector(stage:) withObject:sender];
  [host.extension() performSelector:@selector(stage:) withObject:nil];

  // What is sent next comes first.
  host.choose(known);
  EXPECT_EQ([[actionMessage() objectForKey:@"KPMessageSender"] tag], [known tag]);
  EXPECT_EQ(host.messages(nil).size(), 1U);
}

TEST_F(Glue, UnknownMenuKindsHaveNoMenu) {
  startWithRepository();
  [[HostFinder finder] select:[NSArray arrayWithObject:host.url("repo/a.txt")] targeted:nil];
  EXPECT_EQ([host.extension() menuForMenuKind:FIMenuKindContextualMenuForSidebar], nil);
  EXPECT_EQ([host.extension() menuForMenuKind:static_cast<::FIMenuKind>(99)], nil);
}

TEST_F(Glue, MessagesThatAreNoneAreDropped) {
  startWithRepository();
  host.send(2, [NSData data]);
  host.send(2, [@"bplist00 and more" dataUsingEncoding:NSUTF8StringEncoding]);
  host.send(2, [NSKeyedArchiver archivedDataWithRootObject:@"no dictionary"]);
  host.send(7, [NSKeyedArchiver archivedDataWithRootObject:@"no such id"]);
  host.send(@"openRepositoryWithUrls:", @"no array");
  host.send(@"setStatusInfo:", @"no status", host.identifier("repo"));
  host.send(@"setStatusInfo:", status({{"repo/b.txt", 0x0002}}), host.identifier("repo"));
  [host.extension() requestBadgeIdentifierForURL:host.url("repo/b.txt")];
  EXPECT_TRUE(host.runUntil([&] { return host.badge("repo/b.txt") == "KPIndexModifiedBadge"; }));
}

}  // namespace
}  // namespace kelpie
