#pragma once

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Object.h"
#include "foundation/URL.h"
#include "platform/linux/LinuxFileSystem.h"
#include "settings/KPUserDefaults.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"
#include "status/ObservedPaths.h"
#include "support/FakePlatform.h"

// What the benchmarks of the status have in common: a repository on the files of this machine, and
// fakes for the rest.
namespace kelpie {

// Processor time, so that a round that other processes interrupt counts for what it did itself.
inline double milliseconds() {
  return 1000.0 * static_cast<double>(std::clock()) / static_cast<double>(CLOCKS_PER_SEC);
}

// Of at least one time.
inline double median(std::vector<double> times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

// A folder that is gone with this object. It lies in memory where there is such a file system:
// making a million files on a disk takes many times as long as all that is measured, and what is
// read of them later is cached either way.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::filesystem::path& parent = roomyFolder()) {
    std::string name = (parent / "kelpie-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) != nullptr) path_ = std::filesystem::canonical(name).string();
  }
  ~TemporaryFolder() {
    std::error_code error;
    if (!path_.empty()) std::filesystem::remove_all(path_, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string folder(std::string_view name) const {
    const std::filesystem::path path = std::filesystem::path(path_) / name;
    std::filesystem::create_directories(path);
    return path.string();
  }
  static void file(const std::string& path) { std::ofstream stream(path); }

 private:
  static std::filesystem::path roomyFolder() {
    const std::filesystem::path inMemory = "/dev/shm";
    std::error_code none;
    return std::filesystem::is_directory(inMemory, none) ? inMemory
                                                         : std::filesystem::temp_directory_path();
  }

  std::string path_;
};

// A file manager that costs next to nothing: the number of badges, and the last for each path once
// it is told to watch.
class QuietFinder final : public FinderSyncController {
 public:
  void setBadgeImage(const Image&, std::string_view, std::string_view) override {}
  void setBadgeIdentifier(std::string_view badge, const URL& url) override {
    ++count;
    if (watches) badges[url.path()] = badge;
  }
  std::vector<URL> directoryURLs() const override { return {}; }
  void setDirectoryURLs(std::vector<URL>) override {}
  std::vector<URL> selectedItemURLs() const override { return {}; }
  std::optional<URL> targetedURL() const override { return std::nullopt; }

  std::size_t count = 0;
  bool watches = false;
  std::unordered_map<std::string, std::string> badges;
};

// One open repository.
class BenchRepository {
 public:
  BenchRepository(const std::string& root, bool showFolderStatus) {
    fakes.groupDefaults().changeFromOutside(kShowFolderGitStatusKey, showFolderStatus);
    repository =
        KPRepository::create(URL::fileURLWithPath(root), URL::fileURLWithPath(root + "/.git"),
                             observedPaths, platform, settings);
  }

  // The file manager has shown the item.
  void show(const std::string& path) {
    const URL url = URL::fileURLWithPath(path);
    observedPaths->findOrCreate(*url.parentUrl(files)->identifier(files))->add(path);
  }
  // A status message comes in, and all that follows from it is done.
  void takeIn(const std::shared_ptr<const Bytes>& message) {
    repository->setStatusInfo(KeyedUnarchiver::open(message));
    fakes.runAll();
  }

  LinuxFileSystem files;
  QuietFinder finder;
  FakePlatform fakes;
  const Platform platform{finder,
                          fakes.messagePorts,
                          fakes.defaults,
                          fakes.entitlements,
                          fakes.applications,
                          fakes.processMonitors,
                          fakes.notifications,
                          files,
                          fakes.queues,
                          fakes.bundle,
                          fakes.limits,
                          fakes.log};
  KPUserDefaults settings{platform};
  std::shared_ptr<ObservedPaths> observedPaths = std::make_shared<ObservedPaths>();
  std::shared_ptr<KPRepository> repository;
};

// The message of a status: its entries, and which items are changed.
inline std::shared_ptr<const Bytes> statusMessage(Dictionary entries, Objects dirtyUrls) {
  const Dictionary info = {
      {"KPRepositoryState", 0},
      {"KPRepositoryStatus", Object(std::move(entries)).mutableCopy()},
      {"KPStatusDirtyURLs", std::move(dirtyUrls)},
      {"KPStatusIgnoredURLs", Objects{}},
      {"KPStatusDeletedURLs", Objects{}},
      {"KPStatusNewCount", 0},
  };
  return std::make_shared<const Bytes>(KeyedArchiver::archivedData(Object(info)).value());
}

}  // namespace kelpie
