#include "macos/TestPlatform.h"

#include "macos/system/Files.h"
#include "macos/system/Images.h"
#include "macos/system/SuiteDefaults.h"

namespace kelpie {

NSData* bookmarkOf(NSString* path) { return [[NSURL fileURLWithPath:path] hostBookmark]; }

bool isSymbol(NSImage* image, NSString* name) {
  return [system::symbolName(image) isEqual:name] == YES;
}

void storeElsewhere(NSString* suite, NSString* key, id value) {
  [[HostSuiteDefaults suiteNamed:suite] setElsewhere:value forKey:key];
}

void removeSettings(NSString* suite) { [[HostSuiteDefaults suiteNamed:suite] removeAllObjects]; }

}  // namespace kelpie
