#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>

#include "foundation/Dictionary.h"
#include "platform/Platform.h"

namespace kelpie {

// The settings that the extension shares with the main application through the application group.
// One per process, made together with the controller. Any thread.
class KPUserDefaults {
 public:
  explicit KPUserDefaults(const Platform& platform);
  KPUserDefaults(const KPUserDefaults&) = delete;
  KPUserDefaults& operator=(const KPUserDefaults&) = delete;
  ~KPUserDefaults();

  // The defaults of the application group, with the extension's own defaults registered and old
  // item lists migrated. Opened by the first call, exactly once; other first calls wait for it.
  // Null for good when the application group cannot be read or its defaults do not open. Lives as
  // long as this.
  UserDefaults* sharedApplicationGroupDefaults();

  // The items that one menu has in a fresh installation.
  static Dictionary defaultFinderMenuItems();

  // The catalogue's title of an item, UTF-8. A retired or unknown tag is logged and has no title.
  static std::optional<std::string_view> titleForMenuItemTag(std::int64_t tag, Log& log);

 private:
  void open();  // once, by the first call

  Entitlements& entitlements_;
  UserDefaultsCenter& center_;
  std::once_flag opened_;
  std::unique_ptr<UserDefaults> shared_;  // written under opened_ only
};

}  // namespace kelpie
