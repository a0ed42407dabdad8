#include "macos/system/MessagePorts.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>

#include <atomic>
#include <chrono>
#include <cstring>

#include "foundation/ConditionVariable.h"
#include "foundation/Mutex.h"

// The receiving end. Its source is the port itself. What follows is guarded by the lock of Traffic.
@interface HostLocalPort : NSObject {
 @public
  NSString* _name;
  CFMessagePortCallBack _callback;  // null once it is invalid
  void* _info;
  NSMutableArray* _waiting;  // pairs of id and data that wait for the run loop
  BOOL _isScheduled;
}
- (instancetype)initWithName:(NSString*)name;
- (void)setScheduled:(BOOL)isScheduled;
- (NSArray*)nextMessage;
- (void)deliverWaiting;
- (void)invalidate;
@end

// The sending end of that port, and of no other that gets its name later.
@interface HostRemotePort : NSObject {
 @public
  HostLocalPort* _receiver;
  std::atomic<bool> _isInvalid;
}
- (instancetype)initWithReceiver:(HostLocalPort*)receiver;
- (void)invalidate;
@end

namespace {

// How many messages the system holds for a port.
constexpr NSUInteger kQueueLimit = 5;

// What a message is overwritten with once its receiver has been called.
constexpr int kGone = 0xDD;

std::atomic<std::int32_t> sendStatus = 0;

// What sends wait for.
struct Traffic {
  kelpie::Mutex mutex;
  kelpie::ConditionVariable changed;
  bool isStopped KELPIE_GUARDED_BY(mutex) = false;
  int waiting KELPIE_GUARDED_BY(mutex) = 0;
};

Traffic& traffic() {
  static Traffic made;
  return made;
}

// The listening ports by name. Guarded by @synchronized on itself.
NSMutableDictionary* listeners() {
  static NSMutableDictionary* const ports = [[NSMutableDictionary alloc] init];
  return ports;
}

// The sending ends by name. Guarded by @synchronized on the listeners.
NSMutableDictionary* remotes() {
  static NSMutableDictionary* const ports = [[NSMutableDictionary alloc] init];
  return ports;
}

// The names of ports of other processes. Guarded by @synchronized on the listeners.
NSMutableSet* namesElsewhere() {
  static NSMutableSet* const names = [[NSMutableSet alloc] init];
  return names;
}

// The thread on which sending ends learn that their port is gone.
dispatch_queue_t portsQueue() {
  static dispatch_queue_t const queue = dispatch_queue_create("ports", DISPATCH_QUEUE_SERIAL);
  return queue;
}

template <class Reference>
id objectOf(Reference reference) {
  return static_cast<id>(const_cast<void*>(static_cast<const void*>(reference)));
}

template <class Reference>
Reference referenceTo(id object) {
  return static_cast<Reference>(static_cast<void*>(object));
}

HostLocalPort* listener(NSString* name) {
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    return [[[ports objectForKey:name] retain] autorelease];
  }
}

void deliverOnMainThread(HostLocalPort* port) {
  [port performSelectorOnMainThread:@selector(deliverWaiting) withObject:nil waitUntilDone:NO];
}

// A block holds no object here that it has captured.
void tellLater(HostRemotePort* remote) {
  [remote retain];
  dispatch_async(portsQueue(), ^{
    [remote invalidate];
    [remote release];
  });
}

std::chrono::steady_clock::time_point after(CFTimeInterval time) {
  return std::chrono::steady_clock::now() +
         std::chrono::duration_cast<std::chrono::steady_clock::duration>(
             std::chrono::duration<double>(time));
}

// Waits for room in front of the receiver. A port that is gone without its sender's knowing of it
// is a fault of the transport.
SInt32 enqueue(NSArray* message, HostLocalPort* receiver, CFTimeInterval limit) {
  Traffic& all = traffic();
  kelpie::MutexLock lock(all.mutex);
  const auto isReady = [&all, receiver]() KELPIE_REQUIRES(all.mutex) {
    const bool hasRoom = !all.isStopped && [receiver->_waiting count] < kQueueLimit;
    return hasRoom || receiver->_callback == nullptr;
  };
  ++all.waiting;
  const bool isInTime = all.changed.waitUntil(lock, after(limit), isReady);
  --all.waiting;
  if (!isInTime) return kCFMessagePortSendTimeout;
  if (receiver->_callback == nullptr) return kCFMessagePortTransportError;
  [receiver->_waiting addObject:message];
  return kCFMessagePortSuccess;
}

}  // namespace

@implementation HostLocalPort

- (instancetype)initWithName:(NSString*)name {
  self = [super init];
  if (self != nil) {
    _name = [name copy];
    _waiting = [[NSMutableArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [_name release];
  [_waiting release];
  [super dealloc];
}

- (void)setScheduled:(BOOL)isScheduled {
  const kelpie::MutexLock lock(traffic().mutex);
  _isScheduled = isScheduled;
}

// Autoreleased; nil when there is none for the run loop.
- (NSArray*)nextMessage {
  const kelpie::MutexLock lock(traffic().mutex);
  if (!_isScheduled || [_waiting count] == 0) return nil;
  NSArray* const message = [[[_waiting objectAtIndex:0] retain] autorelease];
  [_waiting removeObjectAtIndex:0];
  return message;
}

// The data are the receiver's for the time of its call only.
- (void)deliverWaiting {
  while (NSArray* const message = [self nextMessage]) {
    traffic().changed.notifyAll();
    NSMutableData* const data = [message objectAtIndex:1];
    const CFDataRef answer =
        _callback(referenceTo<CFMessagePortRef>(self), [[message objectAtIndex:0] intValue],
                  referenceTo<CFDataRef>(data), _info);
    if (answer != nullptr) CFRelease(answer);
    std::memset([data mutableBytes], kGone, [data length]);
  }
}

- (void)invalidate {
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    if ([ports objectForKey:_name] == self) [ports removeObjectForKey:_name];
    HostRemotePort* const remote = [remotes() objectForKey:_name];
    if (remote != nil && remote->_receiver == self) tellLater(remote);
  }
  {
    const kelpie::MutexLock lock(traffic().mutex);
    _callback = nullptr;
    [_waiting removeAllObjects];
  }
  traffic().changed.notifyAll();
}

@end

@implementation HostRemotePort

- (instancetype)initWithReceiver:(HostLocalPort*)receiver {
  self = [super init];
  if (self != nil) _receiver = [receiver retain];
  return self;
}

- (void)dealloc {
  [_receiver release];
  [super dealloc];
}

- (void)invalidate {
  _isInvalid = true;
  @synchronized(listeners()) {
    NSString* const name = _receiver->_name;
    if ([remotes() objectForKey:name] == self) [remotes() removeObjectForKey:name];
  }
}

@end

const CFRunLoopMode kCFRunLoopCommonModes = referenceTo<CFStringRef>(@"common modes");

void CFRelease(CFTypeRef object) { [objectOf(object) release]; }

// GNUstep has a class of its own for booleans, as the platform has a type.
CFTypeID CFGetTypeID(CFTypeRef object) {
  return reinterpret_cast<CFTypeID>([objectOf(object) class]);
}

CFTypeID CFBooleanGetTypeID() {
  return reinterpret_cast<CFTypeID>([[NSNumber numberWithBool:YES] class]);
}

CFDataRef CFDataCreate(CFAllocatorRef /*allocator*/, const UInt8* bytes, CFIndex length) {
  return referenceTo<CFDataRef>([[NSData alloc] initWithBytes:bytes
                                                       length:static_cast<NSUInteger>(length)]);
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
  return static_cast<const UInt8*>([static_cast<NSData*>(objectOf(data)) bytes]);
}

CFIndex CFDataGetLength(CFDataRef data) {
  return static_cast<CFIndex>([static_cast<NSData*>(objectOf(data)) length]);
}

CFRunLoopRef CFRunLoopGetMain() { return referenceTo<CFRunLoopRef>([NSRunLoop mainRunLoop]); }

CFRunLoopRef CFRunLoopGetCurrent() { return referenceTo<CFRunLoopRef>([NSRunLoop currentRunLoop]); }

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
  if (mode != kCFRunLoopCommonModes) return;
  HostLocalPort* const port = objectOf(source);
  [port setScheduled:loop == CFRunLoopGetMain()];
  deliverOnMainThread(port);
}

void CFRunLoopRemoveSource(CFRunLoopRef /*loop*/, CFRunLoopSourceRef source,
                           CFRunLoopMode /*mode*/) {
  [static_cast<HostLocalPort*>(objectOf(source)) setScheduled:NO];
}

CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef /*allocator*/, CFStringRef name,
                                          CFMessagePortCallBack callback,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo) {
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    HostLocalPort* const existing = [ports objectForKey:objectOf(name)];
    const bool isElsewhere = [namesElsewhere() containsObject:objectOf(name)];
    if (shouldFreeInfo != nullptr) *shouldFreeInfo = existing != nil || isElsewhere;
    if (isElsewhere) return nullptr;
    if (existing != nil) return referenceTo<CFMessagePortRef>([existing retain]);
    HostLocalPort* const port = [[HostLocalPort alloc] initWithName:objectOf(name)];
    port->_callback = callback;
    port->_info = context == nullptr ? nullptr : context->info;
    [ports setObject:port forKey:port->_name];
    return referenceTo<CFMessagePortRef>(port);
  }
}

// As long as a port is open, there is one sending end of it in a process.
CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef /*allocator*/, CFStringRef name) {
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    HostLocalPort* const receiver = [ports objectForKey:objectOf(name)];
    if (receiver == nil) return nullptr;
    HostRemotePort* const existing = [remotes() objectForKey:objectOf(name)];
    if (existing != nil && existing->_receiver == receiver)
      return referenceTo<CFMessagePortRef>([existing retain]);
    HostRemotePort* const port = [[HostRemotePort alloc] initWithReceiver:receiver];
    [remotes() setObject:port forKey:receiver->_name];
    return referenceTo<CFMessagePortRef>(port);
  }
}

CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef /*allocator*/,
                                                    CFMessagePortRef local, CFIndex /*order*/) {
  return referenceTo<CFRunLoopSourceRef>([objectOf(local) retain]);
}

SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 number, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval /*receiveTimeout*/,
                                CFStringRef /*replyMode*/, CFDataRef* /*reply*/) {
  if (sendStatus != 0) return sendStatus;
  HostRemotePort* const sender = objectOf(remote);
  if (sender->_isInvalid) return kCFMessagePortIsInvalid;
  NSArray* const message =
      [NSArray arrayWithObjects:[NSNumber numberWithInt:number],
                                [NSMutableData dataWithData:objectOf(data)], nil];
  const SInt32 status = enqueue(message, sender->_receiver, sendTimeout);
  if (status == kCFMessagePortSuccess) deliverOnMainThread(sender->_receiver);
  return status;
}

void CFMessagePortInvalidate(CFMessagePortRef port) { [objectOf(port) invalidate]; }

namespace kelpie::system {

void setSendStatus(std::int32_t status) { sendStatus = status; }

void setReceiversBusy(bool areBusy) {
  {
    const MutexLock lock(traffic().mutex);
    traffic().isStopped = areBusy;
  }
  traffic().changed.notifyAll();
}

int waitingSends() {
  const MutexLock lock(traffic().mutex);
  return traffic().waiting;
}

void takePortName(NSString* name) {
  @synchronized(listeners()) {
    [namesElsewhere() addObject:name];
  }
}

bool isPortOpen(NSString* name) { return listener(name) != nil; }

}  // namespace kelpie::system
