#include "linux/base/RuntimeDirectory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "linux/base/SystemError.h"

namespace kelpie {
namespace {

std::string defaultPath() {
  const char* variable = std::getenv("XDG_RUNTIME_DIR");
  const std::string_view parent = variable == nullptr ? "" : variable;
  if (parent.starts_with('/')) return std::string(parent) + "/kelpie";
  return "/tmp/kelpie-" + std::to_string(::getuid());
}

std::optional<std::string> prepareFolder(const std::string& path) {
  if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
    return systemErrorText("cannot make " + path, errno);
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) return systemErrorText("cannot look at " + path, errno);
  if (!S_ISDIR(status.st_mode)) return path + " is not a directory";
  if (status.st_uid != ::geteuid()) return path + " belongs to another user";
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) return path + " is open to other users";
  return std::nullopt;
}

}  // namespace

RuntimeDirectory::RuntimeDirectory() : path_(defaultPath()) {}

std::optional<std::string> RuntimeDirectory::prepare() const {
  if (auto problem = prepareFolder(path_)) return problem;
  return prepareFolder(portsFolder());
}

RuntimeDirectory::Lock RuntimeDirectory::lock() const {
  Lock lock;
  constexpr int kMode = S_IRUSR | S_IWUSR;
  UniqueFd file(::open(lockFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode));
  if (!file)
    lock.problem = systemErrorText("cannot open " + lockFile(), errno);
  else if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
    lock.file = std::move(file);
  else if (errno == EWOULDBLOCK)
    lock.isHeldByOther = true;
  else
    lock.problem = systemErrorText("cannot lock " + lockFile(), errno);
  return lock;
}

}  // namespace kelpie
