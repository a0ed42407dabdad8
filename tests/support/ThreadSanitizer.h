#pragma once

namespace kelpie {

// Whether the tests and the programs are built with the thread sanitizer, whose runtime has a
// thread of its own in every process.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool kHasThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
inline constexpr bool kHasThreadSanitizer = true;
#else
inline constexpr bool kHasThreadSanitizer = false;
#endif
#else
inline constexpr bool kHasThreadSanitizer = false;
#endif

}  // namespace kelpie
