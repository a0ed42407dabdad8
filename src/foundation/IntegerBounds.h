// The first reals beyond the integers.
#pragma once

namespace kelpie {

inline constexpr double kBeyondSigned = 9223372036854775808.0;     // 2^63
inline constexpr double kBeyondUnsigned = 18446744073709551616.0;  // 2^64

}  // namespace kelpie
