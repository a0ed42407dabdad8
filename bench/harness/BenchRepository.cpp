#include "harness/BenchRepository.h"

#include "archive/KeyedUnarchiver.h"
#include "foundation/URL.h"
#include "settings/SettingsKeys.h"

namespace kelpie {

BenchRepository::BenchRepository(const std::string& root, bool showFolderStatus) {
  fakes.groupDefaults().changeFromOutside(kShowFolderGitStatusKey, showFolderStatus);
  repository =
      KPRepository::create(URL::fileURLWithPath(root), URL::fileURLWithPath(root + "/.git"),
                           observedPaths, platform, settings);
}

void BenchRepository::show(const std::string& path) {
  const URL url = URL::fileURLWithPath(path);
  observedPaths->findOrCreate(*url.parentUrl(files)->identifier(files))->add(path);
}

void BenchRepository::takeIn(const std::shared_ptr<const Bytes>& message) {
  repository->setStatusInfo(KeyedUnarchiver::open(message));
  fakes.runAll();
}

}  // namespace kelpie
