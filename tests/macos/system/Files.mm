#include "macos/system/Files.h"

#import <AppKit/AppKit.h>
#include <fcntl.h>
#include <objc/blocks_runtime.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "macos/CodedIdentifier.h"

namespace {

constexpr NSInteger kNoSuchFile = 260;
constexpr NSInteger kCorruptFile = 259;

struct Status {
  bool exists = false;
  struct stat value = {};
};

Status statusOf(NSURL* url) {
  Status status;
  status.exists =
      [url isFileURL] && lstat([[url path] fileSystemRepresentation], &status.value) == 0;
  return status;
}

std::atomic<bool> areIdentifiersOpaque = false;

id identifierOf(const struct stat& status) {
  const std::uint64_t parts[] = {status.st_dev, status.st_ino};
  NSData* const data = [NSData dataWithBytes:parts length:sizeof parts];
  if (!areIdentifiersOpaque) return data;
  return [[[CodedIdentifier alloc] initWithName:[data description]] autorelease];
}

NSError* cocoaError(NSInteger code) {
  return [NSError errorWithDomain:NSCocoaErrorDomain code:code userInfo:nil];
}

// A descriptor of each file whose reference was made, by the path of the reference. It holds on to
// the file, so that no other one gets its number.
NSMutableDictionary* references() {
  static NSMutableDictionary* const descriptors = [[NSMutableDictionary alloc] init];
  return descriptors;
}

bool isSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Where the file stands by now, wherever it was moved to; "" when it was removed.
std::string presentPath(int descriptor) {
  std::error_code failure;
  const std::string path =
      std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), failure);
  struct stat held = {};
  struct stat found = {};
  const bool isThere = !failure && fstat(descriptor, &held) == 0 &&
                       lstat(path.c_str(), &found) == 0 && isSameFile(held, found);
  return isThere ? path : std::string();
}

NSImage* iconOf(NSString* path) {
  NSImage* const icon = [[[NSImage alloc] initWithSize:NSMakeSize(16, 16)] autorelease];
  [icon setName:[@"icon of " stringByAppendingString:path]];
  return icon;
}

NSString* const kReferencePrefix = @"/.file/id=";

}  // namespace

@implementation NSURL (Additions)

- (NSDictionary*)resourceValuesForKeys:(NSArray*)keys error:(NSError**)error {
  NSURL* const file = [self filePathURL];
  const Status status = statusOf(file);
  if (!status.exists) {
    if (error != nullptr) *error = cocoaError(kNoSuchFile);
    return nil;
  }
  const BOOL isDirectory = S_ISDIR(status.value.st_mode);
  NSDictionary* const values = [NSDictionary
      dictionaryWithObjectsAndKeys:identifierOf(status.value), NSURLFileResourceIdentifierKey,
                                   [NSNumber numberWithBool:isDirectory], NSURLIsDirectoryKey,
                                   [NSNumber
                                       numberWithBool:isDirectory && [[file pathExtension]
                                                                         isEqualToString:@"app"]],
                                   NSURLIsPackageKey,
                                   [NSNumber numberWithBool:S_ISLNK(status.value.st_mode)],
                                   NSURLIsSymbolicLinkKey, [[file path] lastPathComponent],
                                   NSURLLocalizedNameKey, iconOf([file path]),
                                   NSURLEffectiveIconKey, nil];
  NSMutableDictionary* const wanted = [NSMutableDictionary dictionary];
  // The root has none.
  if ([keys containsObject:NSURLParentDirectoryURLKey] && ![[file path] isEqualToString:@"/"])
    [wanted setObject:[NSURL fileURLWithPath:[[file path] stringByDeletingLastPathComponent]]
               forKey:NSURLParentDirectoryURLKey];
  for (NSString* key in keys)
    if ([values objectForKey:key] != nil) [wanted setObject:[values objectForKey:key] forKey:key];
  return wanted;
}

- (NSData*)bookmarkDataWithOptions:(NSUInteger)options
    includingResourceValuesForKeys:(NSArray*)keys
                     relativeToURL:(NSURL*)base
                             error:(NSError**)error {
  NSAssert(options == 0 && keys == nil && base == nil, @"not provided for");
  return [self hostBookmark];
}

+ (NSURL*)URLByResolvingBookmarkData:(NSData*)bookmark
                             options:(NSURLBookmarkResolutionOptions)options
                       relativeToURL:(NSURL*)base
                 bookmarkDataIsStale:(BOOL*)isStale
                               error:(NSError**)error {
  NSAssert(options == NSURLBookmarkResolutionWithoutUI && base == nil, @"not provided for");
  id value = nil;
  @try {
    value = [NSPropertyListSerialization propertyListWithData:bookmark
                                                      options:NSPropertyListImmutable
                                                       format:nullptr
                                                        error:nullptr];
  } @catch (NSException*) {
    value = nil;  // too short to be looked at
  }
  const BOOL isBookmark = [value isKindOfClass:[NSString class]];
  NSURL* const url = isBookmark ? [NSURL fileURLWithPath:value] : nil;
  if (url != nil && statusOf(url).exists) {
    if (isStale != nullptr) *isStale = NO;
    return url;
  }
  if (error != nullptr) *error = cocoaError(isBookmark ? kNoSuchFile : kCorruptFile);
  return nil;
}

@end

@implementation NSURL (Host)

- (BOOL)getResourceValue:(id*)value forKey:(NSString*)key error:(NSError**)error {
  NSDictionary* const values = [self resourceValuesForKeys:[NSArray arrayWithObject:key]
                                                     error:error];
  *value = [values objectForKey:key];
  return values != nil;
}

- (BOOL)isFileReferenceURL {
  return [self isFileURL] && [[self absoluteString] rangeOfString:kReferencePrefix].length > 0;
}

- (NSURL*)fileReferenceURL {
  const Status status = statusOf([self filePathURL]);
  if (!status.exists) return nil;
  NSString* const reference = [kReferencePrefix
      stringByAppendingFormat:@"%llu.%llu", static_cast<unsigned long long>(status.value.st_dev),
                              static_cast<unsigned long long>(status.value.st_ino)];
  @synchronized(references()) {
    if ([references() objectForKey:reference] == nil) {
      const int descriptor = open([[[self filePathURL] path] fileSystemRepresentation],
                                  O_PATH | O_NOFOLLOW | O_CLOEXEC);
      if (descriptor < 0) return nil;
      [references() setObject:[NSNumber numberWithInt:descriptor] forKey:reference];
    }
  }
  return [NSURL URLWithString:[@"file://" stringByAppendingString:reference]];
}

- (NSURL*)filePathURL {
  if (![self isFileReferenceURL]) return self;
  const NSRange start = [[self absoluteString] rangeOfString:kReferencePrefix];
  NSString* const reference = [[self absoluteString] substringFromIndex:start.location];
  @synchronized(references()) {
    NSNumber* const descriptor = [references() objectForKey:reference];
    const std::string path = descriptor == nil ? "" : presentPath([descriptor intValue]);
    return path.empty() ? nil
                        : [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
  }
}

- (NSData*)hostBookmark {
  if (!statusOf(self).exists) return nil;
  return [NSPropertyListSerialization dataWithPropertyList:[self path]
                                                    format:NSPropertyListBinaryFormat_v1_0
                                                   options:0
                                                     error:nullptr];
}

@end

typedef BOOL (^HostErrorHandler)(NSURL* url, NSError* error);

// A walk below a folder, as far as a NSDirectoryEnumerator is asked for it. A folder that cannot be
// read is an error at its own URL.
@interface HostDirectoryEnumerator : NSEnumerator {
 @public
  HostErrorHandler _onError;
  std::filesystem::recursive_directory_iterator _next;
  BOOL _hasBegun;
}
- (void)beginAt:(NSURL*)url;
@end

@implementation HostDirectoryEnumerator

- (void)beginAt:(NSURL*)url {
  std::error_code failure;
  _next = std::filesystem::recursive_directory_iterator(
      [[url path] fileSystemRepresentation],
      std::filesystem::directory_options::skip_permission_denied, failure);
  if (failure && _onError != nullptr) _onError(url, cocoaError(kNoSuchFile));
}

- (id)nextObject {
  std::error_code failure;
  if (_hasBegun && _next != std::filesystem::recursive_directory_iterator())
    _next.increment(failure);
  _hasBegun = YES;
  if (failure || _next == std::filesystem::recursive_directory_iterator()) return nil;
  return [NSURL fileURLWithPath:[NSString stringWithUTF8String:_next->path().c_str()]];
}

- (void)skipDescendants {
  _next.disable_recursion_pending();
}

- (void)dealloc {
  if (_onError != nullptr) Block_release(_onError);
  [super dealloc];
}

@end

@implementation NSFileManager (Host)

// GNUstep's own names the items in the folder that the process works in.
- (NSArray*)contentsOfDirectoryAtURL:(NSURL*)url
          includingPropertiesForKeys:(NSArray*)keys
                             options:(NSDirectoryEnumerationOptions)options
                               error:(NSError**)error {
  NSAssert(options == 0 && keys == nil, @"not provided for");
  NSArray* const names = [self contentsOfDirectoryAtPath:[url path] error:error];
  if (names == nil) return nil;
  NSMutableArray* const items = [NSMutableArray array];
  for (NSString* name in names)
    [items addObject:[NSURL fileURLWithPath:[[url path] stringByAppendingPathComponent:name]]];
  return items;
}

- (NSDirectoryEnumerator*)enumeratorAtURL:(NSURL*)url
               includingPropertiesForKeys:(NSArray*)keys
                                  options:(NSDirectoryEnumerationOptions)options
                             errorHandler:(HostErrorHandler)onError {
  NSAssert(options == 0 && [keys count] == 2, @"not provided for");
  HostDirectoryEnumerator* const walk = [[[HostDirectoryEnumerator alloc] init] autorelease];
  walk->_onError = Block_copy(onError);
  [walk beginAt:url];
  return static_cast<NSDirectoryEnumerator*>(static_cast<id>(walk));
}

@end

namespace kelpie::system {

void setIdentifiersOpaque(bool areOpaque) { areIdentifiersOpaque = areOpaque; }

}  // namespace kelpie::system
