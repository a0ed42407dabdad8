#include "harness/ReadingCost.h"

#include <cstdio>
#include <cstdlib>

namespace {

std::uint64_t counted = 0;

constexpr std::uint64_t kPiece = 16;

// The limits are those of the sanitizer's build, which counts another number of comparisons than
// the one that tells the coverage.
#ifdef KELPIE_COVERAGE
constexpr bool kIsLimited = false;
#else
constexpr bool kIsLimited = true;
#endif

}  // namespace

// The instrumented code reports each comparison, and the sanitizer each call that compares or
// searches memory; these stand between them and the fuzzer (see CMakeLists.txt).
#define KELPIE_COUNT(Suffix, Type)                                        \
  extern "C" void __real___sanitizer_cov_trace_##Suffix(Type a, Type b);  \
  extern "C" void __wrap___sanitizer_cov_trace_##Suffix(Type a, Type b);  \
  extern "C" void __wrap___sanitizer_cov_trace_##Suffix(Type a, Type b) { \
    ++counted;                                                            \
    __real___sanitizer_cov_trace_##Suffix(a, b);                          \
  }
KELPIE_COUNT(cmp1, std::uint8_t)
KELPIE_COUNT(cmp2, std::uint16_t)
KELPIE_COUNT(cmp4, std::uint32_t)
KELPIE_COUNT(cmp8, std::uint64_t)
KELPIE_COUNT(const_cmp1, std::uint8_t)
KELPIE_COUNT(const_cmp2, std::uint16_t)
KELPIE_COUNT(const_cmp4, std::uint32_t)
KELPIE_COUNT(const_cmp8, std::uint64_t)

extern "C" void __real___sanitizer_weak_hook_memcmp(void* caller, const void* a, const void* b,
                                                    std::size_t size, int result);
extern "C" void __wrap___sanitizer_weak_hook_memcmp(void* caller, const void* a, const void* b,
                                                    std::size_t size, int result);
extern "C" void __wrap___sanitizer_weak_hook_memcmp(void* caller, const void* a, const void* b,
                                                    std::size_t size, int result) {
  counted += 1 + size / kPiece;
  __real___sanitizer_weak_hook_memcmp(caller, a, b, size, result);
}

extern "C" void* __real_memchr(const void* text, int byte, std::size_t size);
extern "C" void* __wrap_memchr(const void* text, int byte, std::size_t size);
extern "C" void* __wrap_memchr(const void* text, int byte, std::size_t size) {
  void* const found = __real_memchr(text, byte, size);
  const auto searched = found == nullptr
                            ? size
                            : static_cast<std::size_t>(static_cast<const char*>(found) -
                                                       static_cast<const char*>(text));
  counted += 1 + searched / kPiece;
  return found;
}

namespace kelpie {

ReadingCost::ReadingCost() : before_(counted) {}

std::uint64_t ReadingCost::steps() const { return counted - before_ + meter_.bytes() / kPiece; }

void ReadingCost::check(std::string_view what, std::size_t size, const Limits& limits) const {
  const std::uint64_t taken = steps();
  const std::uint64_t held = peak();
  static const bool kIsTold = std::getenv("KELPIE_FUZZ_COSTS") != nullptr;
  const bool isTooLarge = kIsLimited && held > limits.freeBytes + limits.bytesPerByte * size;
  const bool isTooLong = kIsLimited && taken > limits.freeSteps + limits.stepsPerByte * size;
  if (!kIsTold && !isTooLarge && !isTooLong) return;
  std::fprintf(stderr, "%.*s: %zu bytes took %llu bytes of memory and %llu steps\n",
               static_cast<int>(what.size()), what.data(), size,
               static_cast<unsigned long long>(held), static_cast<unsigned long long>(taken));
  if (isTooLarge || isTooLong) std::abort();
}

}  // namespace kelpie
