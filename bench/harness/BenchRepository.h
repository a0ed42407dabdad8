#pragma once

#include <memory>
#include <string>

#include "foundation/Bytes.h"
#include "harness/QuietFinder.h"
#include "platform/linux/LinuxFileSystem.h"
#include "settings/KPUserDefaults.h"
#include "status/KPRepository.h"
#include "status/ObservedPaths.h"
#include "support/FakePlatform.h"

namespace kelpie {

// One open repository on the files of this machine, without a controller above it; fakes for the
// rest, whose queues run in turn on this thread.
class BenchRepository {
 public:
  BenchRepository(const std::string& root, bool showFolderStatus);

  // The file manager has shown the item.
  void show(const std::string& path);
  // A status message comes in, and all that follows from it is done.
  void takeIn(const std::shared_ptr<const Bytes>& message);

  LinuxFileSystem files;
  QuietFinder finder;
  FakePlatform fakes;
  const Platform platform = fakes.platformWith(finder, files);
  KPUserDefaults settings{platform};
  std::shared_ptr<ObservedPaths> observedPaths = std::make_shared<ObservedPaths>();
  std::shared_ptr<KPRepository> repository;
};

}  // namespace kelpie
