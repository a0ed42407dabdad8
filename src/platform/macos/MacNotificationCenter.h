#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/DistributedNotificationCenter.h"

namespace kelpie {

// The platform's distributed notifications. They come at once, also while this process is not in
// front, which it never is.
class MacNotificationCenter final : public DistributedNotificationCenter {
 public:
  std::unique_ptr<NotificationObservation> addObserver(
      std::string_view name, std::function<void(const std::string& object)> handler) override;
  void post(std::string_view name, std::string_view object) override;
};

}  // namespace kelpie
