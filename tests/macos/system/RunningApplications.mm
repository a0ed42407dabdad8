#include "macos/system/RunningApplications.h"

@interface HostApplication : NSRunningApplication {
 @public
  std::int32_t _pid;
}
@end

@implementation HostApplication

- (pid_t)processIdentifier {
  return _pid;
}

@end

namespace {

// Arrays by bundle identifier.
NSMutableDictionary* applications() {
  static NSMutableDictionary* const running = [[NSMutableDictionary alloc] init];
  return running;
}

}  // namespace

@implementation NSRunningApplication (Host)

+ (NSArray*)runningApplicationsWithBundleIdentifier:(NSString*)identifier {
  NSArray* const found = [applications() objectForKey:identifier];
  return found == nil ? [NSArray array] : found;
}

@end

namespace kelpie::system {

void setRunningApplications(NSString* identifier, const std::vector<std::int32_t>& pids) {
  NSMutableArray* const running = [NSMutableArray array];
  for (const std::int32_t pid : pids) {
    HostApplication* const application = [[[HostApplication alloc] init] autorelease];
    application->_pid = pid;
    [running addObject:application];
  }
  [applications() setObject:running forKey:identifier];
}

}  // namespace kelpie::system
