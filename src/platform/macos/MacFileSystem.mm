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

// nil for what is no file URL.
NSURL* fileUrl(const URL& url) { return url.isFileURL() ? nsUrl(url) : nil; }

// Told by the text alone: parents are asked for by the thousand.
bool isFileReference(const URL& url) { return url.path().starts_with("/.file/id="); }

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
    id name = nil;
    [fileUrl(url) getResourceValue:&name forKey:NSURLLocalizedNameKey error:nullptr];
    return objectOf(name).string();
  }
}

std::optional<Image> MacFileSystem::icon(const URL& /*url*/) const { return std::nullopt; }

std::optional<URL> MacFileSystem::parentUrl(const URL& url) const {
  if (!isFileReference(url)) return url.deletingLastPathComponent();
  @autoreleasepool {
    const std::optional<URL> path = urlOf(fileUrl(url));
    return path ? path->deletingLastPathComponent() : std::nullopt;
  }
}

std::optional<URL> MacFileSystem::fileReferenceUrl(const URL& url) const {
  @autoreleasepool {
    NSURL* const file = fileUrl(url);
    return urlOf([file isFileReferenceURL] ? file : [file fileReferenceURL]);
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
