#include "macos/system/MessagePorts.h"

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <chrono>

#include "foundation/ConditionVariable.h"
#include "foundation/Mutex.h"

// A port: of a listener when it has a callback, else of a sender. Its source is the port itself.
@interface HostPort : NSObject {
 @public
  NSString* _name;
  CFMessagePortCallBack _callback;
  void* _info;
  NSMutableArray* _waiting;  // pairs of id and data, while no run loop has the source
  BOOL _isScheduled;
}
- (instancetype)initWithName:(NSString*)name;
- (void)deliver:(NSArray*)message;
- (void)deliverWaiting;
@end

namespace {

std::atomic<std::int32_t> sendStatus = 0;

// What sends wait for while their receivers are busy.
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

// False when the time is over.
bool waitForReceiver(CFTimeInterval limit) {
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                       std::chrono::duration<double>(limit));
  Traffic& all = traffic();
  kelpie::MutexLock lock(all.mutex);
  ++all.waiting;
  const bool isFree = all.changed.waitUntil(
      lock, end, [&all]() KELPIE_REQUIRES(all.mutex) { return !all.isStopped; });
  --all.waiting;
  return isFree;
}

// The listening ports by name. Guarded by @synchronized on itself.
NSMutableDictionary* listeners() {
  static NSMutableDictionary* const ports = [[NSMutableDictionary alloc] init];
  return ports;
}

// The names of ports of other processes. Guarded by @synchronized on the listeners.
NSMutableSet* namesElsewhere() {
  static NSMutableSet* const names = [[NSMutableSet alloc] init];
  return names;
}

template <class Reference>
id objectOf(Reference reference) {
  return static_cast<id>(const_cast<void*>(static_cast<const void*>(reference)));
}

template <class Reference>
Reference referenceTo(id object) {
  return static_cast<Reference>(static_cast<void*>(object));
}

HostPort* listener(NSString* name) {
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    return [[[ports objectForKey:name] retain] autorelease];
  }
}

void deliverOnMainThread(HostPort* port) {
  [port performSelectorOnMainThread:@selector(deliverWaiting) withObject:nil waitUntilDone:NO];
}

}  // namespace

@implementation HostPort

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

- (void)deliver:(NSArray*)message {
  if (_callback == nullptr) return;
  const SInt32 number = [[message objectAtIndex:0] intValue];
  NSData* const data = [message objectAtIndex:1];
  const CFDataRef answer =
      _callback(referenceTo<CFMessagePortRef>(self), number, referenceTo<CFDataRef>(data), _info);
  if (answer != nullptr) CFRelease(answer);
}

- (void)deliverWaiting {
  while (true) {
    NSArray* message = nil;
    @synchronized(self) {
      if (!_isScheduled || [_waiting count] == 0) return;
      message = [[[_waiting objectAtIndex:0] retain] autorelease];
      [_waiting removeObjectAtIndex:0];
    }
    [self deliver:message];
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
  HostPort* const port = objectOf(source);
  @synchronized(port) {
    port->_isScheduled = loop == CFRunLoopGetMain();
  }
  deliverOnMainThread(port);
}

void CFRunLoopRemoveSource(CFRunLoopRef /*loop*/, CFRunLoopSourceRef source,
                           CFRunLoopMode /*mode*/) {
  HostPort* const port = objectOf(source);
  @synchronized(port) {
    port->_isScheduled = NO;
  }
}

CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef /*allocator*/, CFStringRef name,
                                          CFMessagePortCallBack callback,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo) {
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    HostPort* const existing = [ports objectForKey:objectOf(name)];
    const bool isElsewhere = [namesElsewhere() containsObject:objectOf(name)];
    if (shouldFreeInfo != nullptr) *shouldFreeInfo = existing != nil || isElsewhere;
    if (isElsewhere) return nullptr;
    if (existing != nil) return referenceTo<CFMessagePortRef>([existing retain]);
    HostPort* const port = [[HostPort alloc] initWithName:objectOf(name)];
    port->_callback = callback;
    port->_info = context == nullptr ? nullptr : context->info;
    [ports setObject:port forKey:port->_name];
    return referenceTo<CFMessagePortRef>(port);
  }
}

CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef /*allocator*/, CFStringRef name) {
  if (listener(objectOf(name)) == nil) return nullptr;
  return referenceTo<CFMessagePortRef>([[HostPort alloc] initWithName:objectOf(name)]);
}

CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef /*allocator*/,
                                                    CFMessagePortRef local, CFIndex /*order*/) {
  return referenceTo<CFRunLoopSourceRef>([objectOf(local) retain]);
}

SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 number, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval /*receiveTimeout*/,
                                CFStringRef /*replyMode*/, CFDataRef* /*reply*/) {
  if (sendStatus != 0) return sendStatus;
  if (!waitForReceiver(sendTimeout)) return kCFMessagePortSendTimeout;
  HostPort* const sender = objectOf(remote);
  HostPort* const receiver = listener(sender->_name);
  if (receiver == nil) return kCFMessagePortIsInvalid;
  NSData* const copy = [NSData dataWithData:objectOf(data)];
  @synchronized(receiver) {
    [receiver->_waiting
        addObject:[NSArray arrayWithObjects:[NSNumber numberWithInt:number], copy, nil]];
  }
  deliverOnMainThread(receiver);
  return kCFMessagePortSuccess;
}

void CFMessagePortInvalidate(CFMessagePortRef port) {
  HostPort* const closed = objectOf(port);
  closed->_callback = nullptr;
  NSMutableDictionary* const ports = listeners();
  @synchronized(ports) {
    if ([ports objectForKey:closed->_name] == closed) [ports removeObjectForKey:closed->_name];
  }
}

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
