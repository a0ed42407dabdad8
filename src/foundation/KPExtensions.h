#pragma once

#include <cstdint>

#include "foundation/Image.h"

namespace kelpie {

class Bundle;

// Functions that the platform's numbers and images lack. Those for URLs are members of URL.

// The tag icon of the reference menus: the system symbol "tag" where the running system has it,
// else the resource "TagImage". Main thread.
Image tagImage(const Bundle& bundle);

// -- Of the system's operations, but called by nothing in this project ----------------------------

// 1, 2, 3, … : a different number for every call in the process. Any thread.
std::uint64_t uniqueNumber();

}  // namespace kelpie
