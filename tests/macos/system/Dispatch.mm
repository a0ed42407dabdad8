#include "macos/system/Dispatch.h"

#include <dispatch/dispatch.h>
#include <objc/blocks_runtime.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <unordered_set>
#include <vector>

#include "foundation/Mutex.h"

// A serial queue: a thread of its own works off what was posted, for as long as there is anything.
@interface HostQueue : NSObject <OS_dispatch_queue> {
 @public
  NSMutableArray* _tasks;
  BOOL _isBusy;
  const void* _key;
  void* _value;
}
- (void)post:(dispatch_block_t)block;
- (void)startThread;
- (void)workOff;
@end

// The main thread's, worked off by its run loop.
@interface HostMainQueue : HostQueue
@end

// A block that is kept.
@interface HostTask : NSObject {
 @public
  dispatch_block_t _block;
}
@end

// A watch on a process, whose handlers run on the main thread. Its thread waits for the process to
// end or the watch to be cancelled.
@interface HostProcessSource : NSObject <OS_dispatch_source> {
 @public
  pid_t _pid;
  dispatch_block_t _onEvent;
  dispatch_block_t _onCancel;
  std::atomic<bool> _isCancelled;
  std::atomic<bool> _isResumed;
}
- (void)wait;
- (void)runEvent;
- (void)runCancel;
@end

namespace {

thread_local HostQueue* currentQueue = nil;

// One wait for a process; a cancelled watch notices after this long.
constexpr int kWaitMilliseconds = 20;

// Every source that has not gone, borrowed.
struct Sources {
  kelpie::Mutex mutex;
  std::unordered_set<HostProcessSource*> all KELPIE_GUARDED_BY(mutex);
};

Sources& sources() {
  static Sources made;
  return made;
}

bool hasEnded(int pidFd) {
  pollfd end = {pidFd, POLLIN, 0};
  return poll(&end, 1, kWaitMilliseconds) == 1;
}

}  // namespace

@implementation HostTask

- (void)dealloc {
  Block_release(_block);
  [super dealloc];
}

@end

@implementation HostQueue

- (instancetype)init {
  self = [super init];
  if (self != nil) _tasks = [[NSMutableArray alloc] init];
  return self;
}

- (void)dealloc {
  [_tasks release];
  [super dealloc];
}

- (void)post:(dispatch_block_t)block {
  HostTask* const task = [[HostTask alloc] init];
  task->_block = Block_copy(block);
  @synchronized(self) {
    [_tasks addObject:task];
    [task release];
    if (_isBusy) return;
    _isBusy = YES;
  }
  [self startThread];
}

- (void)startThread {
  [NSThread detachNewThreadSelector:@selector(workOff) toTarget:self withObject:nil];
}

- (void)workOff {
  HostQueue* const former = currentQueue;
  currentQueue = self;
  while (true) {
    @autoreleasepool {
      HostTask* task = nil;
      @synchronized(self) {
        if ([_tasks count] == 0) {
          _isBusy = NO;
          break;
        }
        task = [[[_tasks objectAtIndex:0] retain] autorelease];
        [_tasks removeObjectAtIndex:0];
      }
      task->_block();
    }
  }
  currentQueue = former;
}

@end

@implementation HostMainQueue

- (void)startThread {
  [self performSelectorOnMainThread:@selector(workOff) withObject:nil waitUntilDone:NO];
}

@end

@implementation HostProcessSource

- (instancetype)init {
  self = [super init];
  const kelpie::MutexLock lock(sources().mutex);
  sources().all.insert(self);
  return self;
}

- (void)dealloc {
  {
    const kelpie::MutexLock lock(sources().mutex);
    sources().all.erase(self);
  }
  if (_onEvent != nullptr) Block_release(_onEvent);
  if (_onCancel != nullptr) Block_release(_onCancel);
  [super dealloc];
}

// A process that is gone already has ended, too.
- (void)wait {
  const int pidFd = static_cast<int>(syscall(SYS_pidfd_open, _pid, 0));
  bool ended = pidFd < 0;
  while (!ended && !_isCancelled) ended = hasEnded(pidFd);
  if (pidFd >= 0) close(pidFd);
  if (ended) [self performSelectorOnMainThread:@selector(runEvent) withObject:nil waitUntilDone:NO];
  while (!_isCancelled) poll(nullptr, 0, kWaitMilliseconds);
  [self performSelectorOnMainThread:@selector(runCancel) withObject:nil waitUntilDone:NO];
}

- (void)runEvent {
  if (!_isCancelled && _onEvent != nullptr) _onEvent();
}

// The handlers go after the last of them has run.
- (void)runCancel {
  if (_onCancel != nullptr) _onCancel();
  if (_onEvent != nullptr) Block_release(_onEvent);
  if (_onCancel != nullptr) Block_release(_onCancel);
  _onEvent = _onCancel = nullptr;
}

@end

dispatch_queue_t dispatch_get_main_queue() {
  static HostMainQueue* const queue = [[HostMainQueue alloc] init];
  return queue;
}

dispatch_queue_t dispatch_queue_create(const char* /*label*/,
                                       dispatch_queue_attr_t /*attributes*/) {
  return [[HostQueue alloc] init];
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
  [static_cast<HostQueue*>(queue) post:block];
}

void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t /*destructor*/) {
  HostQueue* const known = static_cast<HostQueue*>(queue);
  known->_key = key;
  known->_value = context;
}

void* dispatch_get_specific(const void* key) {
  return currentQueue != nil && currentQueue->_key == key ? currentQueue->_value : nullptr;
}

const dispatch_source_type_t DISPATCH_SOURCE_TYPE_PROC = nullptr;

dispatch_source_t dispatch_source_create(dispatch_source_type_t /*type*/, uintptr_t handle,
                                         unsigned long /*mask*/, dispatch_queue_t /*queue*/) {
  HostProcessSource* const source = [[HostProcessSource alloc] init];
  source->_pid = static_cast<pid_t>(handle);
  return source;
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler) {
  static_cast<HostProcessSource*>(source)->_onEvent = Block_copy(handler);
}

void dispatch_source_set_cancel_handler(dispatch_source_t source, dispatch_block_t handler) {
  static_cast<HostProcessSource*>(source)->_onCancel = Block_copy(handler);
}

void dispatch_source_cancel(dispatch_source_t source) {
  static_cast<HostProcessSource*>(source)->_isCancelled = true;
}

void dispatch_resume(dispatch_object_t object) {
  static_cast<HostProcessSource*>(object)->_isResumed = true;
  [NSThread detachNewThreadSelector:@selector(wait) toTarget:object withObject:nil];
}

void dispatch_release(dispatch_object_t object) { [object release]; }

namespace kelpie::system {

// Held while they run, since a handler may let go of its own source.
void signalProcess(std::int32_t pid) {
  std::vector<HostProcessSource*> told;
  {
    const MutexLock lock(sources().mutex);
    for (HostProcessSource* source : sources().all)
      if (source->_pid == pid && source->_isResumed) told.push_back([source retain]);
  }
  for (HostProcessSource* source : told) {
    [source runEvent];
    [source release];
  }
}

std::size_t processSources() {
  const MutexLock lock(sources().mutex);
  return sources().all.size();
}

}  // namespace kelpie::system
