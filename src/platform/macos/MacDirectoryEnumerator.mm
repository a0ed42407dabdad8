#include "platform/macos/MacDirectoryEnumerator.h"

#include <memory>
#include <utility>

#include "foundation/Error.h"
#include "platform/macos/FileIdentity.h"
#include "platform/macos/Guard.h"
#include "platform/macos/Objects.h"
#include "platform/macos/Strings.h"
#include "platform/macos/Urls.h"

namespace kelpie {
namespace {

Error noSuchFile() { return {stdString(NSCocoaErrorDomain), NSFileReadNoSuchFileError, {}}; }

}  // namespace

MacDirectoryEnumerator::MacDirectoryEnumerator(NSURL* folder, const std::string& path,
                                               FileSystem::ErrorHandler onError) {
  const auto handler = std::make_shared<const FileSystem::ErrorHandler>(
      onError ? std::move(onError) : [](const std::string&, const Error&) { return true; });
  if (folder == nil) {
    answerGuarded([&] { return (*handler)(path, noSuchFile()); });
    return;
  }
  NSArray* const keys =
      [NSArray arrayWithObjects:NSURLIsDirectoryKey, NSURLFileResourceIdentifierKey, nil];
  enumerator_ = Retained<NSDirectoryEnumerator*>::keep([[NSFileManager defaultManager]
                 enumeratorAtURL:folder
      includingPropertiesForKeys:keys
                         options:0
                    errorHandler:^BOOL(NSURL* url, NSError* error) {
                      return answerGuarded(
                          [&] { return (*handler)(stdString([url path]), errorOf(error)); });
                    }]);
}

const DirectoryEntry* MacDirectoryEnumerator::next() {
  @autoreleasepool {
    NSURL* const url = [enumerator_.get() nextObject];
    if (url == nil) return nullptr;
    path_ = stdString([url path]);
    entry_ = {path_, [resourceValue(url, NSURLIsDirectoryKey) boolValue] == YES,
              fileIdentifierOf(resourceValue(url, NSURLFileResourceIdentifierKey))};
    return &entry_;
  }
}

}  // namespace kelpie
