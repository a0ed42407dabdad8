#include "platform/macos/KPKelpieSync.h"

#import <objc/runtime.h>

#include <optional>
#include <string>

#include "platform/macos/MacPlatform.h"
#include "platform/macos/MenuConversion.h"
#include "platform/macos/Strings.h"
#include "platform/macos/Urls.h"

@interface KPKelpieSync ()
- (void)performAction:(SEL)action ofItem:(id)sender;
@end

namespace {

// What stands behind every action method.
void actionMethod(id self, SEL action, id sender) {
  [static_cast<KPKelpieSync*>(self) performAction:action ofItem:sender];
}

}  // namespace

@implementation KPKelpieSync

+ (void)initialize {
  if (self != [KPKelpieSync class]) return;
  @autoreleasepool {
    kelpie::ExtensionEdge::forEachAction([](std::string_view selector) {
      const std::string name(selector);
      class_addMethod([KPKelpieSync class], sel_registerName(name.c_str()),
                      reinterpret_cast<IMP>(&actionMethod), "v@:@");
    });
    kelpie::ExtensionEdge::initialize(kelpie::MacPlatform::shared().platform());
  }
}

- (instancetype)init {
  // First of all: the base class may call back, on any thread, before it returns.
  _edge = std::make_shared<kelpie::ExtensionEdge>();
  self = [super init];
  if (self == nil) return nil;
  kelpie::MacPlatform& platform = kelpie::MacPlatform::shared();
  if (_edge == nullptr || !_edge->open(platform.platform(), platform.defaults())) {
    [self release];
    return nil;
  }
  return self;
}

// The last reference may go on any thread; the controller goes on the main one.
- (void)dealloc {
  kelpie::MacSerialQueues().mainQueue()->post(
      [edge = std::move(_edge)]() mutable { edge.reset(); });
  [super dealloc];
}

// -- The toolbar item -----------------------------------------------------------------------------

- (NSString*)toolbarItemName {
  return kelpie::nsString(kelpie::KPKelpieSync::toolbarItemName());
}

- (NSString*)toolbarItemToolTip {
  return kelpie::nsString(kelpie::KPKelpieSync::toolbarItemToolTip());
}

- (NSImage*)toolbarItemImage {
  return kelpie::nsImage(kelpie::KPKelpieSync::toolbarItemImage());
}

// -- The Finder's callbacks: any thread -----------------------------------------------------------

- (void)beginObservingDirectoryAtURL:(NSURL*)url {
  @autoreleasepool {
    _edge->beginObservingDirectoryAtURL(kelpie::urlOf(url));
  }
}

- (void)endObservingDirectoryAtURL:(NSURL*)url {
  @autoreleasepool {
    _edge->endObservingDirectoryAtURL(kelpie::urlOf(url));
  }
}

- (void)requestBadgeIdentifierForURL:(NSURL*)url {
  @autoreleasepool {
    _edge->requestBadgeIdentifierForURL(kelpie::urlOf(url));
  }
}

// -- Menus and actions ----------------------------------------------------------------------------

- (NSMenu*)menuForMenuKind:(FIMenuKind)kind {
  const kelpie::Menu* const menu = _edge->menuForMenuKind(static_cast<std::uint64_t>(kind));
  return menu == nullptr ? nil : kelpie::nsMenu(*menu);
}

- (void)performAction:(SEL)action ofItem:(id)sender {
  if (![sender isKindOfClass:[NSMenuItem class]]) return;
  const SEL own = [sender action];
  if (own != nullptr && !sel_isEqual(own, action)) return;
  _edge->performAction(sel_getName(action), [sender tag]);
}

@end
