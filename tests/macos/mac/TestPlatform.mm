#include "macos/TestPlatform.h"

namespace kelpie {

NSData* bookmarkOf(NSString* path) {
  return [[NSURL fileURLWithPath:path] bookmarkDataWithOptions:0
                                includingResourceValuesForKeys:nil
                                                 relativeToURL:nil
                                                         error:nullptr];
}

// AppKit does not tell the name of a symbol.
bool isSymbol(NSImage* image, NSString* /*name*/) { return image != nil; }

}  // namespace kelpie
