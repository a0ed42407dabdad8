#pragma once

// What a lock guards, and what must be locked, in words that the compiler checks: clang, where it
// is told to (-Wthread-safety). Other compilers read nothing here.
//
//   Table table_ KELPIE_GUARDED_BY(mutex_);       // reached with the lock held only
//   void grow() KELPIE_REQUIRES(mutex_);          // called with the lock held
//   void KELPIE_UNCHECKED wait(MutexLock& lock);  // not looked into

#if defined(__clang__)
#define KELPIE_THREAD_SAFETY(...) __attribute__((__VA_ARGS__))
#else
#define KELPIE_THREAD_SAFETY(...)
#endif

#define KELPIE_GUARDED_BY(mutex) KELPIE_THREAD_SAFETY(guarded_by(mutex))
#define KELPIE_REQUIRES(...) KELPIE_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define KELPIE_UNCHECKED KELPIE_THREAD_SAFETY(no_thread_safety_analysis)

// For the locks themselves; see Mutex.h.
#define KELPIE_CAPABILITY(name) KELPIE_THREAD_SAFETY(capability(name))
#define KELPIE_SCOPED_CAPABILITY KELPIE_THREAD_SAFETY(scoped_lockable)
#define KELPIE_ACQUIRE(...) KELPIE_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define KELPIE_RELEASE(...) KELPIE_THREAD_SAFETY(release_capability(__VA_ARGS__))
