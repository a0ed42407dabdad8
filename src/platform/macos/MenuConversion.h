#pragma once

#import <AppKit/AppKit.h>

#include "foundation/Image.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"

namespace kelpie {

// Menus as AppKit's, autoreleased. Main thread, but for items without images.

// Whether items bear their images. A chosen item that is sent to the main application does not: an
// image has no meaning outside of this bundle.
enum class MenuImages { Shown, LeftOut };

// The menu whole, submenus and images included. Its items are enabled as they say, without asking
// anybody; their targets are left to the Finder.
NSMenu* nsMenu(const Menu& menu);
NSMenuItem* nsMenuItem(const MenuItem& item, MenuImages images);
// A resource of the bundle, a symbol of the system, or the icon of the file whose URL is the name;
// nil where there is none
// of that name.
NSImage* nsImage(const Image& image);

}  // namespace kelpie
