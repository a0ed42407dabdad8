#include "linux/base/SystemError.h"

#include <system_error>

namespace kelpie {

std::string systemErrorText(std::string_view what, int errorNumber) {
  return std::string(what).append(": ").append(std::system_category().message(errorNumber));
}

}  // namespace kelpie
