#include "linux/base/MainLoop.h"

#include <glib-unix.h>

#include <deque>
#include <thread>
#include <utility>

#include "foundation/Mutex.h"
#include "linux/base/GuardedTask.h"
#include "platform/QueueCheck.h"

namespace kelpie {
namespace {

// What a GSource calls, and the log for what that lets out. GLib holds it while it is called.
struct FdCallback {
  Log& log;
  std::function<void(GIOCondition)> run;
};

struct Callback {
  Log& log;
  std::function<void()> run;
};

template <class T>
void letGo(gpointer callback) {
  const std::unique_ptr<T> owned(static_cast<T*>(callback));
}

// Attaches `source` to the default context, with `callback` as what it calls.
template <class T>
void attach(GSource* source, GSourceFunc call, std::unique_ptr<T> callback) {
  g_source_set_callback(source, call, callback.release(), letGo<T>);
  g_source_attach(source, nullptr);
}

gboolean callFdCallback(gint /*fd*/, GIOCondition condition, gpointer data) {
  const auto* callback = static_cast<FdCallback*>(data);
  runGuarded(callback->log, [=] { callback->run(condition); });
  return G_SOURCE_CONTINUE;
}

gboolean callOnce(gpointer data) {
  const auto* callback = static_cast<Callback*>(data);
  runGuarded(callback->log, callback->run);
  return G_SOURCE_REMOVE;
}

gboolean callAgain(gpointer data) {
  const auto* callback = static_cast<Callback*>(data);
  runGuarded(callback->log, callback->run);
  return G_SOURCE_CONTINUE;
}

// A source that is ready when its ready time says so.
gboolean dispatchWhenDue(GSource* /*source*/, GSourceFunc call, gpointer data) {
  return call(data);
}
GSourceFuncs timedSource = {nullptr, nullptr, dispatchWhenDue, nullptr, nullptr, nullptr};

}  // namespace

class MainLoop::Queue final : public SerialQueue {
 public:
  explicit Queue(Log& log) : log_(log), source_(g_source_new(&timedSource, sizeof(GSource))) {
    attach(source_, callAgain,
           std::make_unique<Callback>(Callback{log, [this] { runWhatWaits(); }}));
  }
  ~Queue() override { g_source_unref(source_); }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  // No task runs after this. Those that wait are let go: one may hold what holds this queue.
  void close() {
    g_source_destroy(source_);
    std::deque<std::function<void()>> tasks;
    const MutexLock lock(mutex_);
    isClosed_ = true;
    tasks.swap(tasks_);
  }

  void post(std::function<void()> task) override {
    const MutexLock lock(mutex_);
    if (isClosed_) return;
    tasks_.push_back(std::move(task));
    g_source_set_ready_time(source_, 0);
  }

  bool isCurrent() const override { return std::this_thread::get_id() == mainThread_; }

 private:
  // The tasks that are there now; those that they post wait for the other events.
  void runWhatWaits() {
    std::deque<std::function<void()>> tasks;
    {
      const MutexLock lock(mutex_);
      g_source_set_ready_time(source_, -1);
      tasks.swap(tasks_);
    }
    for (auto& task : tasks) {
      runGuarded(log_, task);
      task = nullptr;
    }
  }

  Log& log_;
  const std::thread::id mainThread_ = std::this_thread::get_id();
  GSource* source_;  // owned
  Mutex mutex_;
  std::deque<std::function<void()>> tasks_ KELPIE_GUARDED_BY(mutex_);
  bool isClosed_ KELPIE_GUARDED_BY(mutex_) = false;
};

MainLoop::Source::~Source() {
  g_source_destroy(source_);
  g_source_unref(source_);
}

MainLoop::MainLoop(Log& log) : log_(log), queue_(std::make_shared<Queue>(log)) {}

MainLoop::~MainLoop() { queue_->close(); }

int MainLoop::run() {
  checkIsOn(*queue_);
  while (!quit_) g_main_context_iteration(nullptr, TRUE);
  return status_;
}

bool MainLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  checkIsOn(*queue_);
  bool late = false;
  const auto timer = callAfter(limit, [&late] { late = true; });
  while (!done()) {
    if (late) return false;
    g_main_context_iteration(nullptr, TRUE);
  }
  return true;
}

void MainLoop::quit(int status) {
  queue_->post([this, status] {
    quit_ = true;
    status_ = status;
  });
}

std::shared_ptr<SerialQueue> MainLoop::queue() const { return queue_; }

std::unique_ptr<MainLoop::Source> MainLoop::watch(int fd, GIOCondition conditions,
                                                  std::function<void(GIOCondition)> onReady) {
  checkIsOn(*queue_);
  GSource* source = g_unix_fd_source_new(fd, conditions);
  // g_source_set_callback() takes the type of the source's own callbacks in disguise.
  attach(source, reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(callFdCallback)),
         std::make_unique<FdCallback>(FdCallback{log_, std::move(onReady)}));
  return std::make_unique<Source>(source);
}

std::unique_ptr<EventLoop::Timer> MainLoop::callAfter(std::chrono::milliseconds delay,
                                                      std::function<void()> task) {
  checkIsOn(*queue_);
  GSource* source = g_timeout_source_new(static_cast<guint>(delay.count()));
  attach(source, callOnce, std::make_unique<Callback>(Callback{log_, std::move(task)}));
  return std::make_unique<Source>(source);
}

}  // namespace kelpie
