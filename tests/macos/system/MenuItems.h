#pragma once

namespace kelpie::system {

// GNUstep's menu items leave their represented object out of an archive; AppKit's have it there.
// To be called once.
void completeMenuItems();

}  // namespace kelpie::system
