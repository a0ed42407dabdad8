#pragma once

#include <cstdint>
#include <string_view>

namespace kelpie::cli {

// How well the user's text fits a menu title; the smaller, the better.
enum class TitleFit : std::uint8_t {
  Exact,
  Alike,   // but for case (of ASCII) and a final ellipsis, which may be three full stops
  Begins,  // the title begins so, in the sense of Alike
  None,
};

// Any thread.
TitleFit titleFit(std::string_view wanted, std::string_view title);

}  // namespace kelpie::cli
