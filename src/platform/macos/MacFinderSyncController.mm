#include "platform/macos/MacFinderSyncController.h"

#import <FinderSync/FinderSync.h>

#include "platform/macos/MenuConversion.h"
#include "platform/macos/Strings.h"
#include "platform/macos/Urls.h"

namespace kelpie {

void MacFinderSyncController::setBadgeImage(const Image& image, std::string_view label,
                                            std::string_view badgeIdentifier) {
  NSImage* const picture = nsImage(image);
  NSString* const name = nsString(badgeIdentifier);
  if (name == nil) return;
  [[FIFinderSyncController defaultController] setBadgeImage:picture
                                                      label:nsString(label)
                                         forBadgeIdentifier:name];
}

void MacFinderSyncController::setBadgeIdentifier(std::string_view badgeIdentifier, const URL& url) {
  @autoreleasepool {
    NSString* const name = nsString(badgeIdentifier);
    NSURL* const item = [nsUrl(url) filePathURL];
    if (name == nil || item == nil) return;
    [[FIFinderSyncController defaultController] setBadgeIdentifier:name forURL:item];
  }
}

std::vector<URL> MacFinderSyncController::directoryURLs() const {
  return urlsOf([[FIFinderSyncController defaultController] directoryURLs]);
}

void MacFinderSyncController::setDirectoryURLs(std::vector<URL> urls) {
  NSMutableSet* const folders = [NSMutableSet setWithCapacity:urls.size()];
  for (const URL& url : urls) {
    NSURL* const path = nsUrl(url);
    NSURL* const reference = [path fileReferenceURL];
    if (path != nil) [folders addObject:reference != nil ? reference : path];
  }
  [[FIFinderSyncController defaultController] setDirectoryURLs:folders];
}

std::vector<URL> MacFinderSyncController::selectedItemURLs() const {
  return urlsOf([[FIFinderSyncController defaultController] selectedItemURLs]);
}

std::optional<URL> MacFinderSyncController::targetedURL() const {
  return urlOf([[FIFinderSyncController defaultController] targetedURL]);
}

}  // namespace kelpie
