#pragma once

// What src/platform/macos uses of libdispatch, whose objects are Objective-C objects there, too.
// system/Dispatch.mm holds the implementation.

#import <Foundation/Foundation.h>

#include <cstdint>

@protocol OS_dispatch_queue <NSObject>
@end
@protocol OS_dispatch_source <NSObject>
@end

typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
typedef id dispatch_queue_attr_t;
typedef id dispatch_object_t;
typedef const struct HostSourceType* dispatch_source_type_t;
typedef void (^dispatch_block_t)(void);
typedef void (*dispatch_function_t)(void*);

#define DISPATCH_QUEUE_SERIAL nil

extern const dispatch_source_type_t DISPATCH_SOURCE_TYPE_PROC;
enum : unsigned long { DISPATCH_PROC_EXIT = 0x80000000, DISPATCH_PROC_SIGNAL = 0x08000000 };

dispatch_queue_t dispatch_get_main_queue();
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes);
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t destructor);
void* dispatch_get_specific(const void* key);

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         unsigned long mask, dispatch_queue_t queue);
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
void dispatch_source_set_cancel_handler(dispatch_source_t source, dispatch_block_t handler);
void dispatch_source_cancel(dispatch_source_t source);

void dispatch_resume(dispatch_object_t object);
void dispatch_release(dispatch_object_t object);
