#include "macos/linux/ScriptedHost.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include "macos/system/Dispatch.h"
#include "macos/system/Entitlements.h"
#include "macos/system/Files.h"
#include "macos/system/FinderSync.h"
#include "macos/system/MessagePorts.h"
#include "macos/system/NotificationCenter.h"
#include "macos/system/RunningApplications.h"
#include "macos/system/SuiteDefaults.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"

namespace kelpie {
namespace {

NSString* const kApplication = @"org.kelpie.Kelpie";

std::int32_t spawnSleeper() {
  pid_t pid = 0;
  std::string program = "sleep";
  std::string seconds = "600";
  char* const arguments[] = {program.data(), seconds.data(), nullptr};
  EXPECT_EQ(posix_spawnp(&pid, "sleep", nullptr, nullptr, arguments, environ), 0);
  return pid;
}

}  // namespace

NSString* const ScriptedHost::kGroup = @"group.org.kelpie";

ScriptedHost::ScriptedHost() {
  system::setSignatureReadable(true);
  system::setEntitlement([NSArray arrayWithObject:kGroup]);
  system::setRunningApplications(kApplication, {});
  system::setSendStatus(0);
  system::setIdentifiersOpaque(false);
  [[HostSuiteDefaults suiteNamed:kGroup] removeAllObjects];
  [[HostNotificationCenter center] reset];
  [[HostFinder finder] reset];
  for (const char* name : {"repo/.git", "repo/sub"}) folder_.addFolder(name);
  for (const char* name : {"repo/a.txt", "repo/b.txt"}) folder_.addFile(name, name);
}

ScriptedHost::~ScriptedHost() {
  stop();
  killApplication();
}

// -- The main application -------------------------------------------------------------------------

void ScriptedHost::startApplication(NSString* version) {
  [[HostSuiteDefaults suiteNamed:kGroup] setElsewhere:version forKey:@"KPApplicationVersion"];
  application_ = spawnSleeper();
  system::setRunningApplications(kApplication, {application_});
  openApplicationPort();
}

void ScriptedHost::openApplicationPort() {
  CFMessagePortContext context = {0, this, nullptr, nullptr, nullptr};
  NSString* const name = [kGroup stringByAppendingString:@".App"];
  port_ = CFRetained<CFMessagePortRef>::adopt(
      CFMessagePortCreateLocal(nullptr, cfOf<CFStringRef>(name), &receive, &context, nullptr));
  ASSERT_TRUE(port_);
  source_ = CFRetained<CFRunLoopSourceRef>::adopt(
      CFMessagePortCreateRunLoopSource(nullptr, port_.get(), 0));
  CFRunLoopAddSource(CFRunLoopGetCurrent(), source_.get(), kCFRunLoopCommonModes);
}

void ScriptedHost::killApplication() {
  if (application_ == 0) return;
  CFMessagePortInvalidate(port_.get());
  system::setRunningApplications(kApplication, {});
  kill(application_, SIGKILL);
  EXPECT_EQ(waitpid(application_, nullptr, 0), application_);
  application_ = 0;
}

void ScriptedHost::signalApplication() { system::signalProcess(application_); }

void ScriptedHost::post(NSString* notification) {
  [[NSDistributedNotificationCenter defaultCenter] postNotificationName:notification
                                                                 object:@"any"
                                                               userInfo:nil
                                                     deliverImmediately:YES];
}

void ScriptedHost::send(NSString* selector, id argument, id target) {
  NSMutableDictionary* const message = [NSMutableDictionary dictionary];
  [message setObject:selector forKey:@"KPMessageSelector"];
  if (argument != nil) [message setObject:argument forKey:@"KPMessageArgument"];
  if (target != nil) [message setObject:target forKey:@"KPMessageTarget"];
  send(2, [NSKeyedArchiver archivedDataWithRootObject:message]);
}

void ScriptedHost::send(std::int32_t id, NSData* bytes) {
  const int own = [[NSProcessInfo processInfo] processIdentifier];
  NSString* const name = [kGroup stringByAppendingFormat:@".Sync.%d", own];
  const auto port = CFRetained<CFMessagePortRef>::adopt(
      CFMessagePortCreateRemote(nullptr, cfOf<CFStringRef>(name)));
  ASSERT_TRUE(port) << "the extension does not listen";
  // The extension has this thread, too: for room it must be let run.
  EXPECT_TRUE(runUntil([&] {
    return CFMessagePortSendRequest(port.get(), id, cfOf<CFDataRef>(bytes), 0, 1, nullptr,
                                    nullptr) == kCFMessagePortSuccess;
  }));
}

CFDataRef ScriptedHost::receive(CFMessagePortRef /*port*/, SInt32 id, CFDataRef data, void* host) {
  NSData* const archive = static_cast<NSData*>(objectOfCF(data));
  NSDictionary* const content = [NSKeyedUnarchiver unarchiveObjectWithData:archive];
  EXPECT_TRUE([content isKindOfClass:[NSDictionary class]]);
  static_cast<ScriptedHost*>(host)->messages_.push_back(
      {id, Retained<NSDictionary*>::keep(content)});
  return nullptr;
}

std::vector<ScriptedHost::Message> ScriptedHost::messages(NSString* selector) const {
  std::vector<Message> found;
  for (const Message& message : messages_) {
    NSString* const own = [message.content.get() objectForKey:@"KPMessageSelector"];
    if (own == selector || [own isEqualToString:selector]) found.push_back(message);
  }
  return found;
}

void ScriptedHost::observeFolders(NSArray* bookmarks) {
  [[HostSuiteDefaults suiteNamed:kGroup] setElsewhere:bookmarks forKey:@"KPFoldersPaths"];
}

void ScriptedHost::showFileItems(NSArray* tags) {
  NSDictionary* const root = [NSDictionary dictionaryWithObject:tags forKey:@"KPFileMenuItems"];
  NSDictionary* const items = [NSDictionary dictionaryWithObject:root forKey:@"KPRootMenuItems"];
  [[HostSuiteDefaults suiteNamed:kGroup] setElsewhere:items forKey:@"KPContextualMenuItems"];
}

// -- The Finder -----------------------------------------------------------------------------------

PrincipalClass* ScriptedHost::start() {
  extension_ = Retained<PrincipalClass*>::adopt([[PrincipalClass alloc] init]);
  return extension_.get();
}

// The controller goes later, on the main thread.
void ScriptedHost::stop() {
  extension_ = {};
  drainMainQueue();
}

NSURL* ScriptedHost::url(const std::string& path) const {
  return [NSURL fileURLWithPath:nsString(folder_ / path)];
}

std::string ScriptedHost::badge(const std::string& path) const {
  NSString* const identifier = [[HostFinder finder] badgeOfPath:[url(path) path]];
  return identifier == nil ? "(none)" : stdString(identifier);
}

void ScriptedHost::choose(NSMenuItem* item) {
  ASSERT_NE(item, nil);
  const auto copy = Retained<NSMenuItem*>::adopt([[NSMenuItem alloc] initWithTitle:[item title]
                                                                            action:[item action]
                                                                     keyEquivalent:@""]);
  [copy.get() setTag:[item tag]];
  [extension() performSelector:[item action] withObject:copy.get()];
}

// -- All of it ------------------------------------------------------------------------------------

void ScriptedHost::openRepository() {
  [extension() beginObservingDirectoryAtURL:url("repo")];
  ASSERT_TRUE(runUntil([&] { return !messages(@"openRepository:portName:").empty(); }));
  send(@"openRepositoryWithUrls:", [NSArray arrayWithObjects:url("repo"), url("repo/.git"), nil]);
  // The new repository asks for the badge of its own folder.
  [[HostSuiteDefaults suiteNamed:kGroup] setObject:[NSNumber numberWithBool:NO]
                                            forKey:@"KPShowFolderGitStatus"];
  ASSERT_TRUE(runUntil([&] { return badge("repo") == "KPEmptyBadge"; }));
}

id ScriptedHost::identifier(const std::string& path) const {
  id value = nil;
  [url(path) getResourceValue:&value forKey:NSURLFileResourceIdentifierKey error:nullptr];
  return value;
}

namespace {

NSMenuItem* firstItem(NSMenu* menu, const std::function<bool(NSMenuItem* item)>& matches) {
  for (NSMenuItem* item in [menu itemArray]) {
    if (matches(item)) return item;
    if (NSMenuItem* const found = firstItem([item submenu], matches)) return found;
  }
  return nil;
}

}  // namespace

NSMenuItem* itemWithAction(NSMenu* menu, const char* action) {
  return firstItem(menu, [action](NSMenuItem* item) {
    return [item action] != nullptr && std::string_view(sel_getName([item action])) == action;
  });
}

NSMenuItem* itemWithTitle(NSMenu* menu, NSString* title) {
  return firstItem(menu, [title](NSMenuItem* item) { return [[item title] isEqual:title] == YES; });
}

}  // namespace kelpie
