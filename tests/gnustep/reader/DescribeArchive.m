// Reads a keyed archive with GNUstep's own unarchiver and says what it holds: a reader that shares
// no line with ours.
//
//   kelpie_describe_archive FILE          prints the description (see fixtures/keyed-archives)
//   kelpie_describe_archive --time N FILE decodes N times: milliseconds of each, a line each, and
//                                         then how many KiB the process grew by
//
// An archive with a menu needs a display.

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

// -- The classes of the reference records, with just what their archives hold ---------------------

@interface KPReference : NSObject <NSCoding> {
 @public
  NSInteger type;
  NSInteger tag;
  NSString* name;
  NSString* fullName;
  NSString* upstreamName;
  NSData* oid;
  BOOL head;
  BOOL detached;
}
@end

@implementation KPReference
- (id)initWithCoder:(NSCoder*)coder {
  if ((self = [super init]) == nil) return nil;
  type = [coder decodeIntegerForKey:@"type"];
  tag = [coder decodeIntegerForKey:@"tag"];
  name = [[coder decodeObjectForKey:@"name"] retain];
  fullName = [[coder decodeObjectForKey:@"fullName"] retain];
  upstreamName = [[coder decodeObjectForKey:@"upstreamName"] retain];
  oid = [[coder decodeObjectForKey:@"oid"] retain];
  head = [coder decodeBoolForKey:@"head"];
  detached = [coder decodeBoolForKey:@"detached"];
  return self;
}
- (void)encodeWithCoder:(NSCoder*)coder {
}
@end

@interface KPRemote : KPReference {
 @public
  NSString* url;
  NSString* pushUrl;
  NSArray* fetchRefspecs;
  NSArray* pushRefspecs;
  NSInteger autotag;
  BOOL skipFetchAll;
}
@end

@implementation KPRemote
- (id)initWithCoder:(NSCoder*)coder {
  if ((self = [super initWithCoder:coder]) == nil) return nil;
  url = [[coder decodeObjectForKey:@"url"] retain];
  pushUrl = [[coder decodeObjectForKey:@"pushUrl"] retain];
  fetchRefspecs = [[coder decodeObjectForKey:@"fetchRefspecs"] retain];
  pushRefspecs = [[coder decodeObjectForKey:@"pushRefspecs"] retain];
  autotag = [coder decodeIntegerForKey:@"autotag"];
  skipFetchAll = [coder decodeBoolForKey:@"skipFetchAll"];
  return self;
}
@end

@interface KPPullRequests : KPReference
@end

@implementation KPPullRequests
@end

@interface KPSubmodule : KPReference {
 @public
  NSString* url;
  NSString* path;
  NSInteger recurse;
  NSInteger ignore;
  NSInteger update;
}
@end

@implementation KPSubmodule
- (id)initWithCoder:(NSCoder*)coder {
  if ((self = [super initWithCoder:coder]) == nil) return nil;
  url = [[coder decodeObjectForKey:@"url"] retain];
  path = [[coder decodeObjectForKey:@"path"] retain];
  recurse = [coder decodeIntegerForKey:@"recurse"];
  ignore = [coder decodeIntegerForKey:@"ignore"];
  update = [coder decodeIntegerForKey:@"update"];
  return self;
}
@end

@interface KPTreeNode : NSObject <NSCoding> {
 @public
  id object;
  NSArray* children;  // an archive each
}
@end

@implementation KPTreeNode
- (id)initWithCoder:(NSCoder*)coder {
  if ((self = [super init]) == nil) return nil;
  object = [[coder decodeObjectForKey:@"object"] retain];
  children = [[coder decodeObjectForKey:@"children"] retain];
  return self;
}
- (void)encodeWithCoder:(NSCoder*)coder {
}
@end

// GNUstep's menu item reads everything of its archive but the represented object.
@interface KPArchivedMenuItem : NSMenuItem
@end

@implementation KPArchivedMenuItem
- (id)initWithCoder:(NSCoder*)coder {
  if ((self = [super initWithCoder:coder]) == nil) return nil;
  [self setRepresentedObject:[coder decodeObjectForKey:@"NSRepObject"]];
  return self;
}
@end

// -- The description ------------------------------------------------------------------------------

static void describe(NSMutableString* out, id object);

static void describeText(NSMutableString* out, NSString* text) {
  [out appendString:@"\""];
  for (NSUInteger index = 0; index < [text length]; ++index) {
    [out appendFormat:@"\\u%04x", [text characterAtIndex:index]];
  }
  [out appendString:@"\""];
}

static void describeBool(NSMutableString* out, BOOL value) {
  [out appendString:value ? @"true" : @"false"];
}

static void describeNumber(NSMutableString* out, NSNumber* number) {
  const char type = [number objCType][0];
  if ([number isKindOfClass:NSClassFromString(@"NSBoolNumber")]) {
    describeBool(out, [number boolValue]);
  } else if (type == 'd' || type == 'f') {
    [out appendFormat:@"{\"$real\":%.17g}", [number doubleValue]];
  } else if (type == 'Q') {
    [out appendFormat:@"%llu", [number unsignedLongLongValue]];
  } else {
    [out appendFormat:@"%lld", [number longLongValue]];
  }
}

static void describeData(NSMutableString* out, NSData* data) {
  [out appendFormat:@"{\"%@\":\"",
                    [data isKindOfClass:[NSMutableData class]] ? @"$mdata" : @"$data"];
  const unsigned char* bytes = [data bytes];
  for (NSUInteger index = 0; index < [data length]; ++index)
    [out appendFormat:@"%02x", bytes[index]];
  [out appendString:@"\"}"];
}

static void describeList(NSMutableString* out, NSEnumerator* elements) {
  [out appendString:@"["];
  id element = nil;
  for (BOOL first = YES; (element = [elements nextObject]) != nil; first = NO) {
    if (!first) [out appendString:@","];
    describe(out, element);
  }
  [out appendString:@"]"];
}

static void describeArray(NSMutableString* out, NSArray* array) {
  [out appendFormat:@"{\"%@\":",
                    [array isKindOfClass:[NSMutableArray class]] ? @"$marray" : @"$array"];
  describeList(out, [array objectEnumerator]);
  [out appendString:@"}"];
}

static void describeSet(NSMutableString* out, NSSet* set) {
  [out appendFormat:@"{\"%@\":", [set isKindOfClass:[NSMutableSet class]] ? @"$mset" : @"$set"];
  describeList(out, [set objectEnumerator]);
  [out appendString:@"}"];
}

static void describeDictionary(NSMutableString* out, NSDictionary* dictionary) {
  [out appendFormat:@"{\"%@\":[",
                    [dictionary isKindOfClass:[NSMutableDictionary class]] ? @"$mdict" : @"$dict"];
  NSEnumerator* keys = [dictionary keyEnumerator];
  id key = nil;
  for (BOOL first = YES; (key = [keys nextObject]) != nil; first = NO) {
    [out appendString:first ? @"[" : @",["];
    describe(out, key);
    [out appendString:@","];
    describe(out, [dictionary objectForKey:key]);
    [out appendString:@"]"];
  }
  [out appendString:@"]}"];
}

static void describeUrl(NSMutableString* out, NSURL* url) {
  [out appendString:@"{\"$url\":"];
  describeText(out, [url relativeString]);
  [out appendString:@",\"base\":"];
  describe(out, [url baseURL]);
  [out appendString:@"}"];
}

static void describeError(NSMutableString* out, NSError* error) {
  [out appendString:@"{\"$error\":{\"domain\":"];
  describeText(out, [error domain]);
  [out appendFormat:@",\"code\":%ld,\"userInfo\":", (long)[error code]];
  describe(out, [error userInfo]);
  [out appendString:@"}}"];
}

static void describeItem(NSMutableString* out, NSMenuItem* item) {
  [out appendString:@"{\"$menuitem\":{\"title\":"];
  describeText(out, [item title]);
  [out
      appendFormat:@",\"tag\":%ld,\"state\":%ld,\"action\":", (long)[item tag], (long)[item state]];
  describe(out, [item action] != NULL ? NSStringFromSelector([item action]) : nil);
  [out appendString:@",\"keyEquivalent\":"];
  describeText(out, [item keyEquivalent]);
  [out appendString:@",\"enabled\":"];
  describeBool(out, [item isEnabled]);
  if ([item representedObject] != nil) {
    [out appendString:@",\"representedObject\":"];
    describe(out, [item representedObject]);
  }
  if ([item submenu] != nil) {
    [out appendString:@",\"submenu\":"];
    describe(out, [item submenu]);
  }
  [out appendString:@"}}"];
}

static void describeMenu(NSMutableString* out, NSMenu* menu) {
  [out appendString:@"{\"$menu\":{\"title\":"];
  describeText(out, [menu title]);
  [out appendString:@",\"items\":"];
  describeList(out, [[menu itemArray] objectEnumerator]);
  [out appendString:@"}}"];
}

static void describeField(NSMutableString* out, const char* key, id value) {
  [out appendFormat:@",\"%s\":", key];
  describe(out, value);
}

static void describeRecord(NSMutableString* out, KPReference* record) {
  [out appendFormat:@"{\"$record\":\"%@\",\"type\":%ld,\"tag\":%ld,\"head\":",
                    NSStringFromClass([record class]), (long)record->type, (long)record->tag];
  describeBool(out, record->head);
  [out appendString:@",\"detached\":"];
  describeBool(out, record->detached);
  describeField(out, "name", record->name);
  describeField(out, "fullName", record->fullName);
  describeField(out, "oid", record->oid);
  describeField(out, "upstreamName", record->upstreamName);
  if ([record isKindOfClass:[KPRemote class]]) {
    KPRemote* remote = (KPRemote*)record;
    describeField(out, "url", remote->url);
    describeField(out, "pushUrl", remote->pushUrl);
    describeField(out, "fetchRefspecs", remote->fetchRefspecs);
    describeField(out, "pushRefspecs", remote->pushRefspecs);
    [out appendFormat:@",\"autotag\":%ld,\"skipFetchAll\":", (long)remote->autotag];
    describeBool(out, remote->skipFetchAll);
  } else if ([record isKindOfClass:[KPSubmodule class]]) {
    KPSubmodule* submodule = (KPSubmodule*)record;
    describeField(out, "url", submodule->url);
    describeField(out, "path", submodule->path);
    [out appendFormat:@",\"recurse\":%ld,\"ignore\":%ld,\"update\":%ld", (long)submodule->recurse,
                      (long)submodule->ignore, (long)submodule->update];
  }
  [out appendString:@"}"];
}

static id unarchive(NSData* archive);

static void describeNode(NSMutableString* out, KPTreeNode* node) {
  [out appendString:@"{\"$node\":{\"object\":"];
  describe(out, node->object);
  [out appendString:@",\"children\":["];
  for (NSUInteger index = 0; index < [node->children count]; ++index) {
    if (index > 0) [out appendString:@","];
    describe(out, unarchive([node->children objectAtIndex:index]));
  }
  [out appendString:@"]}}"];
}

typedef void (*Describe)(NSMutableString* out, id object);

static void describe(NSMutableString* out, id object) {
  // Each class with what describes it, subclasses before their parents.
  static const struct {
    const char* class;
    Describe describe;
  } kKinds[] = {
      {"NSNumber", (Describe)describeNumber}, {"NSData", (Describe)describeData},
      {"NSArray", (Describe)describeArray},   {"NSSet", (Describe)describeSet},
      {"NSURL", (Describe)describeUrl},       {"NSDictionary", (Describe)describeDictionary},
      {"NSError", (Describe)describeError},   {"NSMenuItem", (Describe)describeItem},
      {"NSMenu", (Describe)describeMenu},     {"KPReference", (Describe)describeRecord},
      {"KPTreeNode", (Describe)describeNode},
  };
  if (object == nil) {
    [out appendString:@"null"];
    return;
  }
  if ([object isKindOfClass:[NSString class]]) {
    const BOOL mutable = [object isKindOfClass:[NSMutableString class]];
    if (mutable) [out appendString:@"{\"$mstring\":"];
    describeText(out, object);
    if (mutable) [out appendString:@"}"];
    return;
  }
  if ([object isKindOfClass:[NSDate class]]) {
    [out appendFormat:@"{\"$date\":%.17g}", [object timeIntervalSinceReferenceDate]];
    return;
  }
  for (size_t index = 0; index < sizeof kKinds / sizeof *kKinds; ++index) {
    if (![object isKindOfClass:objc_getClass(kKinds[index].class)]) continue;
    kKinds[index].describe(out, object);
    return;
  }
  [out appendFormat:@"{\"$unknown\":\"%@\"}", NSStringFromClass([object class])];
}

static id unarchive(NSData* archive) {
  NSKeyedUnarchiver* reader =
      [[[NSKeyedUnarchiver alloc] initForReadingWithData:archive] autorelease];
  [reader setClass:[KPArchivedMenuItem class] forClassName:@"NSMenuItem"];
  id root = [reader decodeObjectForKey:@"root"];
  [reader finishDecoding];
  return root;
}

// -- The program ----------------------------------------------------------------------------------

static long peakKiB(void) {
  FILE* status = fopen("/proc/self/status", "r");
  char line[256];
  long value = 0;
  while (status != NULL && fgets(line, sizeof line, status) != NULL) {
    if (sscanf(line, "VmHWM: %ld", &value) == 1) break;
  }
  if (status != NULL) fclose(status);
  return value;
}

static double milliseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return (double)now.tv_sec * 1e3 + (double)now.tv_nsec / 1e6;
}

static int timeDecoding(NSData* archive, int rounds) {
  const long before = peakKiB();
  for (int round = 0; round < rounds; ++round) {
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    const double start = milliseconds();
    const BOOL decoded = [NSKeyedUnarchiver unarchiveObjectWithData:archive] != nil;
    const double end = milliseconds();
    [pool release];
    if (!decoded) return 1;
    printf("%.3f\n", end - start);
  }
  printf("%ld\n", peakKiB() - before);
  return 0;
}

int main(int argc, char** argv) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  const BOOL timed = argc == 4 && strcmp(argv[1], "--time") == 0;
  NSString* path = [NSString stringWithUTF8String:argc > 1 ? argv[argc - 1] : ""];
  NSData* archive = [NSData dataWithContentsOfFile:path];
  if (archive == nil) {
    fprintf(stderr, "kelpie_describe_archive: cannot read %s\n", argc > 1 ? argv[argc - 1] : "");
    return 1;
  }
  // A menu has a window, and a window asks for the application.
  if (getenv("DISPLAY") != NULL) [NSApplication sharedApplication];
  int status = 0;
  if (timed) {
    status = timeDecoding(archive, atoi(argv[2]));
  } else {
    NSMutableString* out = [NSMutableString string];
    describe(out, unarchive(archive));
    puts([out UTF8String]);
  }
  [pool release];
  return status;
}
