#include "platform/linux/DefaultsFile.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <utility>

#include "archive/PropertyList.h"
#include "linux/base/SystemError.h"

namespace kelpie {
namespace {

constexpr std::size_t kLargestFile = std::size_t{16} << 20U;
// How long an update waits for another one, and how long between two looks: the system has no lock
// with a limit.
constexpr std::chrono::milliseconds kLockLimit(1000);
constexpr std::chrono::milliseconds kLockPause(2);

std::string absolutePathIn(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value == '/' ? value : "";
}

std::string homeFolder() {
  std::string home = absolutePathIn("HOME");
  if (!home.empty()) return home;
  const passwd* user = ::getpwuid(::getuid());
  return user != nullptr && user->pw_dir != nullptr && *user->pw_dir == '/' ? user->pw_dir : "/";
}

DefaultsFile::Stamp stampOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec};
}

// Reads the whole of an open file, or up to one byte more than the largest one.
int readAll(int file, Bytes& bytes) {
  constexpr std::size_t kStep = std::size_t{64} << 10U;
  std::size_t length = 0;
  while (length <= kLargestFile) {
    bytes.resize(length + kStep);
    const ssize_t count = ::read(file, bytes.data() + length, kStep);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    length += static_cast<std::size_t>(count);
    if (count == 0) break;
  }
  bytes.resize(length);
  return 0;
}

// Writes all of it to the disk. The error number, or 0.
int writeAll(int file, ByteView bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return ::fsync(file) == 0 ? 0 : errno;
}

// Takes the lock on the folder, which all updates in it take. The error number, or 0; EWOULDBLOCK
// when somebody else kept it for longer than `limit`.
int lockWithin(int folder, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return errno;
    if (std::chrono::steady_clock::now() >= end) return EWOULDBLOCK;
    std::this_thread::sleep_for(kLockPause);
  }
  return 0;
}

}  // namespace

std::optional<DefaultsFile> DefaultsFile::ofSuite(std::string_view suite) {
  if (suite.empty() || suite.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos)
    return std::nullopt;
  std::string folder = absolutePathIn("XDG_CONFIG_HOME");
  if (folder.empty()) {
    folder = homeFolder();
    folder += folder.ends_with('/') ? ".config" : "/.config";
  }
  return DefaultsFile(folder.append("/kelpie/").append(suite).append(".plist"));
}

DefaultsFile::DefaultsFile(std::string path) : path_(std::move(path)) {}

std::string DefaultsFile::folder() const {
  return std::filesystem::path(path_).parent_path().string();
}

std::optional<std::string> DefaultsFile::makeFolder() const {
  const std::string whole = folder();
  for (std::size_t end = whole.find('/', 1);; end = whole.find('/', end + 1)) {
    const std::string part = whole.substr(0, end);
    if (::mkdir(part.c_str(), S_IRWXU) != 0) {
      const int error = errno;
      std::error_code ignored;
      // On a file system that is read-only, mkdir() says so of folders that are there, too.
      if (!std::filesystem::is_directory(part, ignored))
        return systemErrorText("cannot make " + part, error);
    }
    if (end == std::string::npos) return std::nullopt;
  }
}

DefaultsFile::Stamp DefaultsFile::stamp() const {
  struct stat status = {};
  return ::stat(path_.c_str(), &status) == 0 ? stampOf(status) : Stamp();
}

DefaultsFile::Reading DefaultsFile::read() const {
  Reading reading;
  const auto problem = [&](std::string text) {
    reading.problem = std::move(text);
    return std::move(reading);
  };
  const auto unreadable = [&](int error) {
    reading.isPassing = true;
    return problem(systemErrorText("cannot read " + path_, error));
  };
  // Without waiting for somebody who would write to a pipe.
  do reading.file.reset(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  while (!reading.file && errno == EINTR);
  if (!reading.file) {
    const int error = errno;
    reading.stamp = stamp();
    // Who takes it for missing replaces it: so it is missing only if nothing is seen there, either.
    const bool isMissing = (error == ENOENT || error == ENOTDIR) && reading.stamp == Stamp();
    return isMissing ? std::move(reading) : unreadable(error);
  }
  struct stat status = {};
  if (::fstat(reading.file.get(), &status) != 0) return unreadable(errno);
  reading.stamp = stampOf(status);
  if (!S_ISREG(status.st_mode)) return problem(path_ + " is not a file");
  Bytes bytes;
  if (const int error = readAll(reading.file.get(), bytes); error != 0) return unreadable(error);
  if (bytes.size() > kLargestFile) return problem(path_ + " is too large for settings");
  const Object values = PropertyList::read(bytes);
  if (!values.isDictionary()) return problem(path_ + " does not hold settings");
  reading.values = values.dictionary();
  return reading;
}

std::optional<std::string> DefaultsFile::update(
    const std::function<bool(Dictionary& values)>& change) const {
  if (auto problem = makeFolder()) return problem;
  const UniqueFd lock(::open(folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!lock) return systemErrorText("cannot open " + folder(), errno);
  const int error = lockWithin(lock.get(), kLockLimit);
  if (error == EWOULDBLOCK) return "another program keeps " + folder() + " locked";
  if (error != 0) return systemErrorText("cannot lock " + folder(), error);
  Reading former = read();
  if (former.problem) return former.problem;
  if (!change(former.values)) return std::nullopt;
  if (auto problem = replace(former.values)) return problem;
  ::fsync(lock.get());  // the new name, too; without it the former file may come back after a crash
  return std::nullopt;
}

std::optional<std::string> DefaultsFile::replace(const Dictionary& values) const {
  const auto bytes = PropertyList::write(values);
  if (!bytes) return "the settings of " + path_ + " hold what a property list cannot";
  if (bytes->size() > kLargestFile) return "the settings of " + path_ + " are too large";
  std::string temporary = path_ + ".XXXXXX";
  const UniqueFd file(::mkostemp(temporary.data(), O_CLOEXEC));
  if (!file) return systemErrorText("cannot write " + path_, errno);
  int error = writeAll(file.get(), *bytes);
  if (error == 0 && ::rename(temporary.c_str(), path_.c_str()) != 0) error = errno;
  if (error == 0) return std::nullopt;
  ::unlink(temporary.c_str());
  return systemErrorText("cannot write " + path_, error);
}

}  // namespace kelpie
