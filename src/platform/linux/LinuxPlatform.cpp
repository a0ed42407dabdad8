#include "platform/linux/LinuxPlatform.h"

#include <algorithm>
#include <cstddef>
#include <thread>
#include <utility>

namespace kelpie {
namespace {

// More than one, so that work that waits for a disk does not stop the rest; few, since more would
// only get into each other's way.
std::size_t poolThreads() {
  return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 4);
}

std::shared_ptr<LinuxFileSystem> installedFileSystem() {
  auto files = std::make_shared<LinuxFileSystem>();
  FileSystem::install(files);
  return files;
}

}  // namespace

LinuxPlatform::LinuxPlatform(MainLoop& loop, const RuntimeDirectory& runtime, const SessionBus* bus,
                             std::string imagesFolder)
    : bundle_(std::move(imagesFolder)),
      files_(installedFileSystem()),
      defaults_(loop, bundle_.identifier()),
      finder_(loop.queue()),
      ports_(loop, runtime.portsFolder()),
      applications_(bus, loop.log()),
      monitors_(loop),
      notifications_(bus, loop.log()),
      pool_(loop.log(), poolThreads()),
      queues_(loop, pool_),
      platform_{finder_,        ports_,  defaults_, entitlements_, applications_, monitors_,
                notifications_, *files_, queues_,   bundle_,       limits_,       loop.log()} {
  // A main application may end and start again: the former one's end must not be taken for the new
  // one's.
  notifications_.setBeforeDelivery([this] { monitors_.handleEnds(); });
}

}  // namespace kelpie
