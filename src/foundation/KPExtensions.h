#pragma once

#include <cstdint>

#include "foundation/Image.h"

namespace kelpie {

class Bundle;

// The additions to the platform's numbers and images; those to URLs are members of URL.

// 1, 2, 3, … : a different number for every call in the process. Any thread.
std::uint64_t uniqueNumber();

// The tag icon of the reference menus: the system symbol "tag" where the running system has it,
// else the resource "TagImage". Main thread.
Image tagImage(const Bundle& bundle);

}  // namespace kelpie
