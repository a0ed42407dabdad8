#pragma once

namespace kelpie {

// The sanitizer that the tests and the programs are built with. The thread sanitizer's runtime has
// a thread of its own in every process; each of them keeps memory of its own. Everything takes ten
// to twenty times as long: what goes through many cases of one kind goes through a tenth of them
// there, and through all in the optimised build.
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

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kHasAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kHasAddressSanitizer = true;
#else
inline constexpr bool kHasAddressSanitizer = false;
#endif
#else
inline constexpr bool kHasAddressSanitizer = false;
#endif

}  // namespace kelpie
