#include "platform/macos/MenuConversion.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/macos/Objects.h"
#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"

namespace kelpie {
namespace {

// Drawn in their transparency alone, so that the system tints them as text is.
constexpr std::string_view kTemplates[] = {"BranchImage", "StatusItemIcon", "TagImage"};

NSImage* symbol(NSString* name) {
  if (@available(macOS 11.0, *))
    return [NSImage imageWithSystemSymbolName:name accessibilityDescription:nil];
  return nil;
}

NSImage* fileIcon(NSString* url) {
  id icon = nil;
  [[NSURL URLWithString:url] getResourceValue:&icon forKey:NSURLEffectiveIconKey error:nullptr];
  return [icon isKindOfClass:[NSImage class]] ? icon : nil;
}

// "" for an object that is absent or not a text: a menu must not be handed nil.
NSString* titleOf(const std::string& text) {
  NSString* const title = nsString(text);
  return title == nil ? @"" : title;
}

NSMenu* nsMenu(const Menu& menu, MenuImages images) {
  const auto result = Retained<NSMenu*>::adopt([[NSMenu alloc] initWithTitle:titleOf(menu.title)]);
  [result.get() setAutoenablesItems:NO];
  for (const MenuItem& item : menu.items) [result.get() addItem:nsMenuItem(item, images)];
  return [[result.get() retain] autorelease];
}

}  // namespace

NSMenu* nsMenu(const Menu& menu) { return nsMenu(menu, MenuImages::Shown); }

NSMenuItem* nsMenuItem(const MenuItem& item, MenuImages images) {
  const SEL action = item.action ? sel_registerName(item.action->c_str()) : nullptr;
  const auto result =
      Retained<NSMenuItem*>::adopt([[NSMenuItem alloc] initWithTitle:titleOf(item.title)
                                                              action:action
                                                       keyEquivalent:titleOf(item.keyEquivalent)]);
  [result.get() setTag:static_cast<NSInteger>(item.tag)];
  [result.get() setState:item.state];
  [result.get() setEnabled:item.enabled];
  [result.get() setRepresentedObject:nsObject(item.representedObject)];
  if (images == MenuImages::Shown && item.image) [result.get() setImage:nsImage(*item.image)];
  if (item.submenu != nullptr) [result.get() setSubmenu:nsMenu(*item.submenu, images)];
  return [[result.get() retain] autorelease];
}

NSImage* nsImage(const Image& image) {
  NSString* const name = nsString(image.name);
  if (name == nil) return nil;
  if (image.source == Image::Source::SystemSymbol) return symbol(name);
  if (image.name.starts_with("file://")) return fileIcon(name);
  NSImage* const found = [NSImage imageNamed:name];
  const bool isTemplate = std::ranges::find(kTemplates, image.name) != std::end(kTemplates);
  [found setTemplate:isTemplate];
  return found;
}

}  // namespace kelpie
