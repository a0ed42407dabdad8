#include "linux/base/ThreadPool.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <list>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "foundation/ConditionVariable.h"
#include "linux/base/GuardedTask.h"

namespace kelpie {
namespace {

using Clock = std::chrono::steady_clock;

// How long a task may keep its thread while other work waits for one.
constexpr std::chrono::milliseconds kPatience(100);
// With so many threads stuck, the machine has other problems.
constexpr std::size_t kMaximumThreads = 1024;

}  // namespace

// A queue as the pool sees it.
struct ThreadPool::QueueState {
  explicit QueueState(std::string_view name) : label(name) {}

  const std::string label;  // for the debugger
  Mutex mutex;
  std::deque<std::function<void()>> tasks KELPIE_GUARDED_BY(mutex);
  bool scheduled KELPIE_GUARDED_BY(mutex) = false;  // the pool knows that there are tasks
};

class ThreadPool::Core : public std::enable_shared_from_this<Core> {
 public:
  Core(Log& log, std::size_t threads, std::chrono::milliseconds spareTime)
      : log_(log), wanted_(std::max<std::size_t>(threads, 1)), spareTime_(spareTime) {}

  void submit(std::shared_ptr<QueueState> queue);
  // Runs what waits and lets all threads end, and waits for those that are not given up.
  void end();
  std::size_t threads() const;

  static bool isCurrent(const QueueState& queue) { return currentQueue == &queue; }

 private:
  // One thread's present work.
  struct Worker {
    Clock::time_point since;
    bool busy = false;
    bool lost = false;  // given up
  };

  std::size_t active() const KELPIE_REQUIRES(mutex_) { return workers_.size() - lost_; }
  bool starved() const KELPIE_REQUIRES(mutex_) { return ready_.size() > idle_ + starting_; }
  void addThreads() KELPIE_REQUIRES(mutex_);
  void work(std::list<Worker>::iterator worker);
  bool takeWork(MutexLock& lock, std::shared_ptr<QueueState>& queue) KELPIE_REQUIRES(mutex_);
  void runOneTask(const std::shared_ptr<QueueState>& queue);
  void startWatch() KELPIE_REQUIRES(mutex_);
  void watch();
  void giveUpStuckWorkers() KELPIE_REQUIRES(mutex_);

  static thread_local const QueueState* currentQueue;

  Log& log_;
  const std::size_t wanted_;
  const std::chrono::milliseconds spareTime_;
  mutable Mutex mutex_;
  ConditionVariable work_;
  ConditionVariable watch_;
  ConditionVariable ended_;
  // Queues with tasks and no thread.
  std::deque<std::shared_ptr<QueueState>> ready_ KELPIE_GUARDED_BY(mutex_);
  std::list<Worker> workers_ KELPIE_GUARDED_BY(mutex_);
  std::size_t starting_ KELPIE_GUARDED_BY(mutex_) = 0;  // workers whose thread does not run yet
  std::size_t idle_ KELPIE_GUARDED_BY(mutex_) = 0;      // workers that wait for work
  std::size_t lost_ KELPIE_GUARDED_BY(mutex_) = 0;      // workers that are given up
  bool watching_ KELPIE_GUARDED_BY(mutex_) = false;
  bool ending_ KELPIE_GUARDED_BY(mutex_) = false;
};

thread_local const ThreadPool::QueueState* ThreadPool::Core::currentQueue = nullptr;

void ThreadPool::Core::submit(std::shared_ptr<QueueState> queue) {
  const MutexLock lock(mutex_);
  ready_.push_back(std::move(queue));
  work_.notifyOne();
  addThreads();
  if (starved()) startWatch();
}

std::size_t ThreadPool::Core::threads() const {
  const MutexLock lock(mutex_);
  return workers_.size();
}

// Makes threads for the work that waits, up to the wanted number.
void ThreadPool::Core::addThreads() {
  while (starved() && active() < wanted_ && workers_.size() < kMaximumThreads) {
    const auto worker = workers_.insert(workers_.end(), Worker());
    try {
      std::thread([self = shared_from_this(), worker] { self->work(worker); }).detach();
      ++starting_;
    } catch (const std::system_error& error) {
      // The watch tries again for as long as work waits.
      workers_.erase(worker);
      log_.write(std::string("cannot make a thread: ") + error.what());
      return;
    }
  }
}

void ThreadPool::Core::work(std::list<Worker>::iterator worker) {
  std::shared_ptr<QueueState> queue;
  MutexLock lock(mutex_);
  --starting_;
  for (;;) {
    worker->busy = false;
    if (worker->lost) {
      worker->lost = false;
      --lost_;
    }
    // A thread that was given up and came back may be one too many.
    if (active() > wanted_ || !takeWork(lock, queue)) break;
    worker->busy = true;
    worker->since = Clock::now();
    lock.unlock();
    runOneTask(queue);
    queue.reset();
    lock.lock();
  }
  workers_.erase(worker);
  ended_.notifyAll();
}

// Waits for a queue with work; false when the thread is to end: there is none, and the pool ends or
// has another thread.
bool ThreadPool::Core::takeWork(MutexLock& lock, std::shared_ptr<QueueState>& queue) {
  ++idle_;
  ended_.notifyAll();
  const auto isCalled = [this]() KELPIE_REQUIRES(mutex_) { return !ready_.empty() || ending_; };
  if (!work_.waitUntil(lock, Clock::now() + spareTime_, isCalled) && active() == 1)
    work_.wait(lock, isCalled);
  --idle_;
  if (ready_.empty()) return false;
  queue = std::move(ready_.front());
  ready_.pop_front();
  return true;
}

// One task at a time, so that queues with much work and queues with little take turns.
void ThreadPool::Core::runOneTask(const std::shared_ptr<QueueState>& queue) {
  std::function<void()> task;
  {
    const MutexLock lock(queue->mutex);
    task = std::move(queue->tasks.front());
    queue->tasks.pop_front();
  }
  currentQueue = queue.get();
  runGuarded(log_, task);
  task = nullptr;  // what it holds goes as part of the task
  currentQueue = nullptr;
  {
    const MutexLock lock(queue->mutex);
    if (queue->tasks.empty()) {
      queue->scheduled = false;
      return;
    }
  }
  submit(queue);
}

// Called when work waits for a thread. The watch ends a while after the last time.
void ThreadPool::Core::startWatch() {
  if (watching_) {
    watch_.notifyAll();
    return;
  }
  try {
    std::thread([self = shared_from_this()] { self->watch(); }).detach();
    watching_ = true;
  } catch (const std::system_error& error) {
    log_.write(std::string("cannot make a thread: ") + error.what());
  }
}

void ThreadPool::Core::watch() {
  MutexLock lock(mutex_);
  const auto isCalled = [this]() KELPIE_REQUIRES(mutex_) { return starved() || ending_; };
  while (watch_.waitUntil(lock, Clock::now() + spareTime_, isCalled) && !ending_) {
    // Work in progress makes room sooner or later; only work that does not is made up for.
    const auto enough = [this]() KELPIE_REQUIRES(mutex_) { return !starved() || ending_; };
    if (watch_.waitUntil(lock, Clock::now() + kPatience, enough)) continue;
    giveUpStuckWorkers();
    addThreads();
  }
  watching_ = false;
  ended_.notifyAll();
}

void ThreadPool::Core::giveUpStuckWorkers() {
  const Clock::time_point limit = Clock::now() - kPatience;
  for (Worker& worker : workers_) {
    if (!worker.busy || worker.lost || worker.since > limit) continue;
    worker.lost = true;
    ++lost_;
  }
}

void ThreadPool::Core::end() {
  MutexLock lock(mutex_);
  ended_.wait(lock,
              [this]() KELPIE_REQUIRES(mutex_) { return ready_.empty() && active() == idle_; });
  ending_ = true;
  work_.notifyAll();
  watch_.notifyAll();
  ended_.wait(lock, [this]() KELPIE_REQUIRES(mutex_) { return active() == 0 && !watching_; });
}

class ThreadPool::Queue final : public SerialQueue {
 public:
  Queue(std::weak_ptr<Core> core, std::string_view label)
      : core_(std::move(core)), state_(std::make_shared<QueueState>(label)) {}

  void post(std::function<void()> task) override {
    {
      const MutexLock lock(state_->mutex);
      state_->tasks.push_back(std::move(task));
      if (std::exchange(state_->scheduled, true)) return;
    }
    if (const auto core = core_.lock()) core->submit(state_);
  }

  bool isCurrent() const override { return Core::isCurrent(*state_); }

 private:
  std::weak_ptr<Core> core_;
  std::shared_ptr<QueueState> state_;  // the pool keeps it for as long as there are tasks
};

ThreadPool::ThreadPool(Log& log, std::size_t threads, std::chrono::milliseconds spareTime)
    : core_(std::make_shared<Core>(log, threads, spareTime)) {}

ThreadPool::~ThreadPool() { core_->end(); }

std::shared_ptr<SerialQueue> ThreadPool::makeQueue(std::string_view label) {
  return std::make_shared<Queue>(core_, label);
}

std::size_t ThreadPool::threads() const { return core_->threads(); }

}  // namespace kelpie
