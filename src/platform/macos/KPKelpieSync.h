#pragma once

#import <FinderSync/FinderSync.h>

#include <memory>

#include "platform/macos/ExtensionEdge.h"

// The principal class of the app extension: what the Finder calls, handed on to the controller of
// the same name. The Finder makes one, and others for open and save dialogs. Besides what is
// written here it has a method for each action that a menu item can bear, made when the class is
// set up.
//
// A nil URL, or an item of a foreign menu, has no effect. No exception leaves it.
@interface KPKelpieSync : FIFinderSync {
 @private
  std::shared_ptr<kelpie::ExtensionEdge> _edge;  // null before init only
}

@end
