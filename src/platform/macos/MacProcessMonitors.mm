#include "platform/macos/MacProcessMonitors.h"

#include <dispatch/dispatch.h>

#include <utility>

#include "platform/macos/Guard.h"

namespace kelpie {
namespace {

constexpr unsigned long kEvents = DISPATCH_PROC_EXIT | DISPATCH_PROC_SIGNAL;
static_assert(kEvents == 0x88000000);

// The source's own handlers hold the monitor, so that it lives and can be cancelled when nobody
// else holds it; libdispatch lets them go once the cancel handler has run.
class MacProcessMonitor final : public ProcessMonitor,
                                public std::enable_shared_from_this<MacProcessMonitor> {
 public:
  explicit MacProcessMonitor(std::int32_t pid)
      : source_(dispatch_source_create(DISPATCH_SOURCE_TYPE_PROC, static_cast<uintptr_t>(pid),
                                       kEvents, dispatch_get_main_queue())) {}
  // A source that was never started must not be let go as it is.
  ~MacProcessMonitor() override {
    if (!isResumed_) {
      dispatch_source_cancel(source_);
      dispatch_resume(source_);
    }
    dispatch_release(source_);
  }
  MacProcessMonitor(const MacProcessMonitor&) = delete;
  MacProcessMonitor& operator=(const MacProcessMonitor&) = delete;

  void setEventHandler(std::function<void()> handler) override { onEvent_ = std::move(handler); }
  void setCancelHandler(std::function<void()> handler) override { onCancel_ = std::move(handler); }
  void resume() override {
    if (std::exchange(isResumed_, true)) return;
    const std::shared_ptr<MacProcessMonitor> self = shared_from_this();
    dispatch_source_set_event_handler(source_, ^{
      self->fire();
    });
    dispatch_source_set_cancel_handler(source_, ^{
      self->end();
    });
    dispatch_resume(source_);
  }
  void cancel() override { dispatch_source_cancel(source_); }

 private:
  void fire() {
    @autoreleasepool {
      runGuarded(onEvent_);
    }
  }
  void end() {
    @autoreleasepool {
      runGuarded(onCancel_);
      onEvent_ = onCancel_ = [] {};
    }
  }

  const dispatch_source_t source_;
  bool isResumed_ = false;
  std::function<void()> onEvent_ = [] {};
  std::function<void()> onCancel_ = [] {};
};

}  // namespace

std::shared_ptr<ProcessMonitor> MacProcessMonitors::makeMonitor(std::int32_t pid) {
  return std::make_shared<MacProcessMonitor>(pid);
}

}  // namespace kelpie
