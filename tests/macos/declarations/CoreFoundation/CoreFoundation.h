#pragma once

// What src/platform/macos uses of CoreFoundation. Every object here is an Objective-C object, as
// toll-free bridging has it. system/MessagePorts.mm holds the implementation.

#include <cstdint>

using Boolean = unsigned char;
using CFIndex = long;
using CFTimeInterval = double;
using CFTypeID = unsigned long;
using SInt32 = std::int32_t;
using UInt8 = std::uint8_t;

using CFTypeRef = const void*;
using CFAllocatorRef = const struct HostAllocator*;
using CFDataRef = const struct HostData*;
using CFStringRef = const struct HostString*;
using CFMessagePortRef = struct HostMessagePort*;
using CFRunLoopRef = struct HostRunLoop*;
using CFRunLoopSourceRef = struct HostRunLoopSource*;
using CFRunLoopMode = CFStringRef;

extern const CFRunLoopMode kCFRunLoopCommonModes;

void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFBooleanGetTypeID();

CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
const UInt8* CFDataGetBytePtr(CFDataRef data);
CFIndex CFDataGetLength(CFDataRef data);

CFRunLoopRef CFRunLoopGetCurrent();
CFRunLoopRef CFRunLoopGetMain();
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);

enum {
  kCFMessagePortSuccess = 0,
  kCFMessagePortSendTimeout = -1,
  kCFMessagePortReceiveTimeout = -2,
  kCFMessagePortIsInvalid = -3,
  kCFMessagePortTransportError = -4,
  kCFMessagePortBecameInvalidError = -5
};

struct CFMessagePortContext {
  CFIndex version;
  void* info;
  const void* (*retain)(const void* info);
  void (*release)(const void* info);
  CFStringRef (*copyDescription)(const void* info);
};

using CFMessagePortCallBack = CFDataRef (*)(CFMessagePortRef local, SInt32 id, CFDataRef data,
                                            void* info);

CFMessagePortRef CFMessagePortCreateLocal(CFAllocatorRef allocator, CFStringRef name,
                                          CFMessagePortCallBack callback,
                                          CFMessagePortContext* context, Boolean* shouldFreeInfo);
CFMessagePortRef CFMessagePortCreateRemote(CFAllocatorRef allocator, CFStringRef name);
CFRunLoopSourceRef CFMessagePortCreateRunLoopSource(CFAllocatorRef allocator,
                                                    CFMessagePortRef local, CFIndex order);
SInt32 CFMessagePortSendRequest(CFMessagePortRef remote, SInt32 id, CFDataRef data,
                                CFTimeInterval sendTimeout, CFTimeInterval receiveTimeout,
                                CFStringRef replyMode, CFDataRef* reply);
void CFMessagePortInvalidate(CFMessagePortRef port);
