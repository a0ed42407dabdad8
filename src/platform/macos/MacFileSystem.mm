#include "platform/macos/MacFileSystem.h"

#import <Foundation/Foundation.h>

#include "platform/BookmarkResolution.h"
#include "platform/macos/FileIdentity.h"
#include "platform/macos/MacDirectoryEnumerator.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "platform/macos/Urls.h"

namespace kelpie {
namespace {

// The URL of the file's path, where a reference stands for it at present. nil for anything but a
// file URL, and for a reference to a file that is gone.
NSURL* fileUrl(const URL& url) {
  NSURL* const file = url.isFileURL() ? nsUrl(url) : nil;
  return [file isFileReferenceURL] ? [file filePathURL] : file;
}

}  // namespace

ResourceValues MacFileSystem::resourceValues(const URL& url) const {
  @autoreleasepool {
    NSArray* const keys =
        [NSArray arrayWithObjects:NSURLFileResourceIdentifierKey, NSURLIsDirectoryKey,
                                  NSURLIsPackageKey, NSURLIsSymbolicLinkKey, nil];
    NSDictionary* const values = [fileUrl(url) resourceValuesForKeys:keys error:nullptr];
    return {fileIdentifierOf([values objectForKey:NSURLFileResourceIdentifierKey]),
            [[values objectForKey:NSURLIsDirectoryKey] boolValue] == YES,
            [[values objectForKey:NSURLIsPackageKey] boolValue] == YES,
            [[values objectForKey:NSURLIsSymbolicLinkKey] boolValue] == YES};
  }
}

std::optional<std::string> MacFileSystem::localizedName(const URL& url) const {
  @autoreleasepool {
    return objectOf(resourceValue(fileUrl(url), NSURLLocalizedNameKey)).string();
  }
}

std::optional<Image> MacFileSystem::icon(const URL& url) const {
  @autoreleasepool {
    if (resourceValue(fileUrl(url), NSURLEffectiveIconKey) == nil) return std::nullopt;
    return Image{url.absoluteString()};
  }
}

std::optional<URL> MacFileSystem::parentUrl(const URL& url) const {
  @autoreleasepool {
    NSURL* const file = fileUrl(url);
    if (file == nil) return std::nullopt;
    id parent = nil;
    if ([file getResourceValue:&parent forKey:NSURLParentDirectoryURLKey error:nullptr])
      return urlOf(parent);
    return url.deletingLastPathComponent();
  }
}

std::optional<URL> MacFileSystem::fileReferenceUrl(const URL& url) const {
  @autoreleasepool {
    NSURL* const reference = [fileUrl(url) fileReferenceURL];
    return reference == nil ? std::nullopt : URL::fromString(stdString([reference absoluteString]));
  }
}

std::optional<URL> MacFileSystem::filePathUrl(const URL& url) const {
  @autoreleasepool {
    NSURL* const file = url.isFileURL() ? nsUrl(url) : nil;
    return [file isFileReferenceURL] ? urlOf([file filePathURL]) : url;
  }
}

std::vector<URL> MacFileSystem::contentsOfDirectory(const URL& url) const {
  @autoreleasepool {
    NSURL* const folder = fileUrl(url);
    if (folder == nil) return {};
    return urlsOf([[NSFileManager defaultManager] contentsOfDirectoryAtURL:folder
                                                includingPropertiesForKeys:nil
                                                                   options:0
                                                                     error:nullptr]);
  }
}

std::unique_ptr<DirectoryEnumerator> MacFileSystem::enumerator(const URL& url,
                                                               ErrorHandler onError) const {
  @autoreleasepool {
    return std::make_unique<MacDirectoryEnumerator>(fileUrl(url), url.path(), std::move(onError));
  }
}

BookmarkResolution MacFileSystem::resolveBookmark(ByteView bookmark) const {
  @autoreleasepool {
    BOOL isStale = NO;
    NSError* error = nil;
    NSURL* const url = [NSURL URLByResolvingBookmarkData:nsData(bookmark)
                                                 options:NSURLBookmarkResolutionWithoutUI
                                           relativeToURL:nil
                                     bookmarkDataIsStale:&isStale
                                                   error:&error];
    if (std::optional<URL> resolved = urlOf(url)) return {std::move(resolved), isStale == YES, {}};
    return {std::nullopt, false, error == nil ? std::nullopt : std::optional(errorOf(error))};
  }
}

}  // namespace kelpie
