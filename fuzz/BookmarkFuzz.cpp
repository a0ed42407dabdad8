#include <sys/stat.h>

#include <optional>

#include "archive/PropertyList.h"
#include "harness/FuzzTarget.h"
#include "harness/ReadingCost.h"
#include "platform/linux/Bookmark.h"

// Any bytes may stand where a bookmark should. One that resolves leads to something that exists; a
// bookmark made of that leads there again, and is not stale.
namespace {

using namespace kelpie;

constexpr ReadingCost::Limits kBookmarkLimits{
    .freeBytes = 16'000, .bytesPerByte = 64, .freeSteps = 10'000, .stepsPerByte = 100};

void resolveBookmark(FuzzTarget::Input input) {
  const ReadingCost cost;
  const BookmarkResolution resolution = Bookmark::resolve(input);
  cost.check("BookmarkFuzz", input.size(), kBookmarkLimits);
  require(resolution.url.has_value() != resolution.error.has_value());
  if (!resolution.url) return;
  const std::string& path = resolution.url->path();
  require(path.starts_with('/') && path.find('\0') == std::string::npos);
  const std::optional<Bytes> again = Bookmark::make(path);
  // Between two looks, something may have come or gone elsewhere in the system.
  if (!again) return;
  const BookmarkResolution second = Bookmark::resolve(*again);
  require(!second.url || (second.url->path() == path && !second.isStale));
}

const FuzzTarget kBookmarkFuzz("BookmarkFuzz", resolveBookmark);

}  // namespace
