#include "platform/macos/MacPlatform.h"

namespace kelpie {

MacPlatform& MacPlatform::shared() {
  static MacPlatform* const platform = [] {
    auto made = std::make_unique<MacPlatform>();
    FileSystem::install(made->files_);
    return made.release();
  }();
  return *platform;
}

}  // namespace kelpie
