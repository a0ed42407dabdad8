#include "platform/macos/MacProcessMonitors.h"

#include <dispatch/dispatch.h>

#include <utility>

#include "platform/macos/Guard.h"

namespace kelpie {
namespace {

constexpr unsigned long kEvents = DISPATCH_PROC_EXIT | DISPATCH_PROC_SIGNAL;
static_assert(kEvents == 0x88000000);

// A source, and what it is to run. The source's own handlers hold it, so that the watch lives until
// it is cancelled; they go when the cancel handler has run.
struct Watch {
  explicit Watch(std::int32_t pid)
      : source(dispatch_source_create(DISPATCH_SOURCE_TYPE_PROC, static_cast<uintptr_t>(pid),
                                      kEvents, dispatch_get_main_queue())) {}
  // A source that was never started must not be let go as it is.
  ~Watch() {
    if (!isResumed) {
      dispatch_source_cancel(source);
      dispatch_resume(source);
    }
    dispatch_release(source);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  const dispatch_source_t source;
  bool isResumed = false;
  std::function<void()> onEvent = [] {};
  std::function<void()> onCancel = [] {};
};

class MacProcessMonitor final : public ProcessMonitor {
 public:
  explicit MacProcessMonitor(std::int32_t pid) : watch_(std::make_shared<Watch>(pid)) {}

  void setEventHandler(std::function<void()> handler) override {
    watch_->onEvent = std::move(handler);
  }
  void setCancelHandler(std::function<void()> handler) override {
    watch_->onCancel = std::move(handler);
  }
  void resume() override {
    if (std::exchange(watch_->isResumed, true)) return;
    const std::shared_ptr<Watch> watch = watch_;
    dispatch_source_set_event_handler(watch->source, ^{
      runGuarded(watch->onEvent);
    });
    dispatch_source_set_cancel_handler(watch->source, ^{
      runGuarded(watch->onCancel);
      watch->onEvent = watch->onCancel = [] {};
    });
    dispatch_resume(watch->source);
  }
  void cancel() override { dispatch_source_cancel(watch_->source); }

 private:
  const std::shared_ptr<Watch> watch_;
};

}  // namespace

std::shared_ptr<ProcessMonitor> MacProcessMonitors::makeMonitor(std::int32_t pid) {
  return std::make_shared<MacProcessMonitor>(pid);
}

}  // namespace kelpie
