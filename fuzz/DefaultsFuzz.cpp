#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "agent/PublishedSettings.h"
#include "harness/FuzzTarget.h"
#include "harness/QuietLoop.h"
#include "harness/ReadingCost.h"
#include "platform/linux/DefaultsFile.h"
#include "platform/linux/DefaultsStore.h"
#include "platform/linux/LinuxUserDefaults.h"
#include "settings/ItemListMigration.h"
#include "settings/SettingsKeys.h"
#include "settings/TrustedRepositories.h"
#include "support/MessageHarness.h"
#include "support/TemporaryFolder.h"

// What other programs leave as the file of the settings. It is read as each program reads it, a
// second file takes its place, and something is stored. The first byte says whether a live
// controller gets the settings as well, the second where the second file begins. A file that does
// not hold settings must leave the former ones in force and must never be overwritten.
namespace {

using namespace kelpie;

constexpr ReadingCost::Limits kSettingsLimits{
    .freeBytes = 250'000, .bytesPerByte = 160, .freeSteps = 250'000, .stepsPerByte = 300};
constexpr ReadingCost::Limits kMenuLimits{
    .freeBytes = 250'000, .bytesPerByte = 160, .freeSteps = 250'000, .stepsPerByte = 300};
constexpr std::string_view kMarkKey = "KPMark";

// In memory where the system has a folder for that: what is stored is written through.
std::string parentFolder() {
  const char* const inMemory = "/dev/shm";
  return ::access(inMemory, W_OK) == 0 ? inMemory : "/tmp";
}

class SettingsOnDisk {
 public:
  SettingsOnDisk() : file_(folder_ / "suite.plist") {}
  ~SettingsOnDisk() { std::remove(file_.path().c_str()); }
  SettingsOnDisk(const SettingsOnDisk&) = delete;
  SettingsOnDisk& operator=(const SettingsOnDisk&) = delete;

  void put(ByteView bytes) const {
    const std::string next = folder_ / "next";
    std::ofstream(next, std::ios::binary) << textOf(bytes);
    std::filesystem::rename(next, file_.path());
  }
  const DefaultsFile& file() const { return file_; }

 private:
  static const TemporaryFolder& shared() {
    static const TemporaryFolder folder(parentFolder());
    return folder;
  }
  const TemporaryFolder& folder_ = shared();
  DefaultsFile file_;
};

// What the programs ask of the settings.
void readSettings(const UserDefaults& defaults) {
  for (const std::string_view key :
       {kShowFolderGitStatusKey, kContextualMenuItemsKey, kToolbarItemMenuItemsKey,
        kFoldersPathsKey, kApplicationVersionKey, kTrustedRepositoriesKey}) {
    (void)defaults.boolForKey(key);
    (void)defaults.stringForKey(key);
    (void)defaults.arrayForKey(key);
    (void)defaults.dictionaryForKey(key);
  }
  const auto trusted =
      TrustedRepositories::fromObject(defaults.objectForKey(kTrustedRepositoriesKey));
  for (const std::string& path : trusted.paths())
    require(path.starts_with('/') && path.find('\0') == std::string::npos);
  // Reading what was written gives the same.
  require(TrustedRepositories::fromObject(trusted.toObject()).paths() == trusted.paths());
}

// The folders and menus of a live controller with these settings.
void showMenus(const Dictionary& settings, std::size_t size) {
  MessageHarness harness;
  for (const auto& [key, value] : settings.entries())
    if (key.isString()) harness.fakes().groupDefaults().setObject(key.stringValue(), value);
  const ReadingCost cost;
  harness.runQueues();
  (void)harness.menuItems();
  cost.check("DefaultsFuzz, menus", size, kMenuLimits);
}

void readSettingsFile(FuzzTarget::Input input) {
  if (input.size() < 2) return;
  const bool isShown = input[0] % 4 == 0;
  const ByteView files = input.subspan(2);
  const std::size_t split = files.size() * input[1] / 256;
  const ByteView first = files.first(split);
  const ByteView second = files.subspan(split);

  const SettingsOnDisk disk;
  require(!disk.file().read().problem);  // a file that is not there
  disk.put(first);
  const ReadingCost cost;
  QuietLog log;
  const auto store = std::make_shared<DefaultsStore>(disk.file(), log);
  LinuxUserDefaults defaults(store);
  int changes = 0;
  const auto observation = defaults.observe(kFoldersPathsKey, [&changes] { ++changes; });
  readSettings(defaults);
  const Dictionary before = store->all();

  const DefaultsFile::Reading sound = disk.file().read();
  require(!sound.problem || sound.values.entries().empty());
  disk.put(second);
  store->checkForChanges();
  const DefaultsFile::Reading next = disk.file().read();
  if (next.problem) require(Object(store->all()).isEqual(before));
  readSettings(defaults);

  migrateItemLists(defaults);
  (void)agent::PublishedSettings(disk.file()).publish("1", "/");
  defaults.registerDefaults({{kMarkKey, Object("registered")}});
  defaults.removeObject(kMarkKey);
  require(defaults.stringForKey(kMarkKey).value_or("") == "registered" || next.problem);
  defaults.setObject(kMarkKey, Object("x"));
  const DefaultsFile::Reading last = disk.file().read();
  require(last.problem.has_value() == next.problem.has_value());
  if (!last.problem) require(last.values[kMarkKey].stringValue() == "x");
  cost.check("DefaultsFuzz", input.size(), kSettingsLimits);
  if (isShown) showMenus(before, input.size());
}

const FuzzTarget kDefaultsFuzz("DefaultsFuzz", readSettingsFile);

}  // namespace
