#include "platform/linux/FileErrors.h"

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "foundation/Dictionary.h"

namespace kelpie {
namespace {

constexpr std::string_view kPosixErrorDomain = "NSPOSIXErrorDomain";

Object userInfo(std::string_view text) {
  return Dictionary{{Object(kLocalizedDescriptionKey), Object(text)}};
}

}  // namespace

Error cocoaError(std::int64_t code, std::string_view text) {
  return {std::string(kCocoaErrorDomain), code, userInfo(text)};
}

Error fileError(int errorNumber) {
  const std::string text = std::system_category().message(errorNumber);
  switch (errorNumber) {
    case ENOENT:
    case ENOTDIR:
      return cocoaError(kFileReadNoSuchFile, text);
    case EACCES:
    case EPERM:
      return cocoaError(kFileReadNoPermission, text);
    default:
      return {std::string(kPosixErrorDomain), errorNumber, userInfo(text)};
  }
}

}  // namespace kelpie
