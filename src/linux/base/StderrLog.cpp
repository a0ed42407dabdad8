#include "linux/base/StderrLog.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>

#include "foundation/PrintableText.h"
#include "foundation/Text.h"

namespace kelpie {
namespace {

void appendEscape(std::string& text, char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  switch (c) {
    case '\n':
      text += "\\n";
      return;
    case '\t':
      text += "\\t";
      return;
    case '\\':
      text += "\\\\";
      return;
    default:
      text += "\\x";
      text += kDigits[byte >> 4];
      text += kDigits[byte & 0x0F];
  }
}

bool isPlain(char c) { return ' ' <= c && c != '\x7F' && c != '\\'; }

}  // namespace

std::string StderrLog::escaped(std::string_view line) {
  std::string text;
  text.reserve(std::min(line.size(), kLongestLine));
  while (!line.empty()) {
    if (text.size() > kLongestLine - 8) return text + "...";
    const std::size_t length = std::max<std::size_t>(utf8SequenceLength(line), 1);
    const std::string_view sequence = line.substr(0, length);
    if (length > 1 ? isPrintable(sequence) : isPlain(line[0]))
      text += sequence;
    else
      for (const char c : sequence) appendEscape(text, c);
    line.remove_prefix(length);
  }
  return text;
}

void StderrLog::write(std::string_view line) {
  const MutexLock lock(mutex_);
  if (leftOut_ > 0 && tryToWrite(std::to_string(leftOut_) + " log lines were left out"))
    leftOut_ = 0;
  if (leftOut_ > 0 || !tryToWrite(escaped(line))) ++leftOut_;
}

bool StderrLog::tryToWrite(std::string line) {
  line += '\n';
  pollfd ready = {fd_, POLLOUT, 0};
  if (::poll(&ready, 1, 0) != 1 || (ready.revents & POLLOUT) == 0) return false;
  return ::write(fd_, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

}  // namespace kelpie
