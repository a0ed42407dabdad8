#include "macos/TestPlatform.h"

#include "macos/system/Files.h"
#include "macos/system/Images.h"

namespace kelpie {

NSData* bookmarkOf(NSString* path) { return [[NSURL fileURLWithPath:path] hostBookmark]; }

bool isSymbol(NSImage* image, NSString* name) {
  return [system::symbolName(image) isEqual:name] == YES;
}

}  // namespace kelpie
