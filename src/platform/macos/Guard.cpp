#include "platform/macos/Guard.h"

#include <exception>
#include <string>

#include "platform/macos/SystemLog.h"

namespace kelpie {

void runGuarded(FunctionRef<void()> task) noexcept {
  try {
    task();
  } catch (const std::exception& error) {
    writeSystemLog(std::string("exception: ") + error.what());
  } catch (...) {
    writeSystemLog("exception of the platform");
  }
}

bool answerGuarded(FunctionRef<bool()> question) noexcept {
  bool answer = false;
  runGuarded([&] { answer = question(); });
  return answer;
}

}  // namespace kelpie
