#pragma once

#include "extension/KPKelpieSync.h"
#include "linux/hostlink/HostedExtension.h"

namespace kelpie {

// The controller, as the host link drives it. Main queue.
class HostedController final : public HostedExtension {
 public:
  // `controller` outlives this.
  explicit HostedController(KPKelpieSync& controller) : controller_(controller) {}

  std::string toolbarItemName() const override;
  std::string toolbarItemToolTip() const override;
  Image toolbarItemImage() const override;
  void beginObservingDirectoryAtURL(const URL& url) override;
  void endObservingDirectoryAtURL(const URL& url) override;
  void requestBadgeIdentifierForURL(const URL& url) override;
  std::optional<Menu> menuForMenuKind(std::uint64_t kind) override;
  bool performAction(const MenuItem& item) override;

 private:
  KPKelpieSync& controller_;
};

}  // namespace kelpie
