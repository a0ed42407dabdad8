#include "agent/git/IgnoreFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <set>
#include <system_error>

#include "linux/base/UniqueFd.h"

namespace kelpie::agent {
namespace {

constexpr std::string_view kSpecial = "\\*?[";
// No real version has a larger one.
constexpr std::size_t kLargestFile = std::size_t{16} << 20U;

std::string systemError(const std::string& file) {
  return file + ": " + std::generic_category().message(errno);
}

// Absent when the file is too large or cannot be read.
std::optional<std::string> contentOf(int fd) {
  std::string content;
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t got = read(fd, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return std::nullopt;
    if (got == 0) return content;
    content.append(buffer.data(), static_cast<std::size_t>(got));
    if (content.size() > kLargestFile) {
      errno = EFBIG;
      return std::nullopt;
    }
  }
}

std::set<std::string_view> linesOf(std::string_view content) {
  std::set<std::string_view> lines;
  while (!content.empty()) {
    const std::size_t end = std::min(content.find('\n'), content.size());
    lines.insert(content.substr(0, end));
    content.remove_prefix(std::min(end + 1, content.size()));
  }
  return lines;
}

bool writeText(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(fd, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

std::optional<std::string> ignorePattern(std::string_view path, bool isFolder) {
  if (path.empty() || path == "." || path.find('\n') != std::string_view::npos) return std::nullopt;
  std::string pattern = "/";
  for (const char each : path) {
    if (kSpecial.find(each) != std::string_view::npos) pattern.push_back('\\');
    pattern.push_back(each);
  }
  if (isFolder) return pattern + "/";
  // git takes blanks off the end of a line, unless they are written so; a carriage return, too.
  if (pattern.ends_with('\r')) return pattern.substr(0, pattern.size() - 1) + "[\r]";
  std::size_t blanks = pattern.size() - pattern.find_last_not_of(' ') - 1;
  pattern.resize(pattern.size() - blanks);
  for (; blanks > 0; --blanks) pattern += "\\ ";
  return pattern;
}

std::string addIgnorePatterns(const std::string& file, const std::vector<std::string>& patterns) {
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
  constexpr int kFlags = O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
  constexpr mode_t kMode = 0666;  // what the user's mask leaves of it
  const UniqueFd fd(open(file.c_str(), kFlags, kMode));
  if (!fd) return systemError(file);
  struct stat before {};
  if (fstat(fd.get(), &before) != 0) return systemError(file);
  if (!S_ISREG(before.st_mode)) return file + " is no file that patterns can be written to.";
  const std::optional<std::string> content = contentOf(fd.get());
  if (!content) return systemError(file);

  const std::set<std::string_view> known = linesOf(*content);
  std::string added;
  if (!content->empty() && !content->ends_with('\n')) added = "\n";
  const std::size_t prefix = added.size();
  for (const std::string& pattern : patterns)
    if (!known.contains(pattern)) added.append(pattern).push_back('\n');
  if (added.size() == prefix || writeText(fd.get(), added)) return {};
  std::string why = systemError(file);
  // Half a pattern would ignore something else.
  if (ftruncate(fd.get(), before.st_size) != 0) why += " (some of it was written)";
  return why;
}

}  // namespace kelpie::agent
