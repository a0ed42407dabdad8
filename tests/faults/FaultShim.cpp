// The library that is loaded before the system's own and has calls fail as FaultPlan says: what the
// programs and the libraries they stand on call by name. A function that is defined here has the
// name of another one in C, which its headers declare in ways that differ from system to system; so
// the name is given to the linker only.
#include <dirent.h>
#include <dlfcn.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "FaultPlan.h"

using kelpie::faults::fails;
using kelpie::faults::failsOrIsShort;
using kelpie::faults::KindsByType;

namespace {

constexpr KindsByType kReads = {"read.file", "read.pipe", "read.socket", "read.other"};
constexpr KindsByType kWrites = {"write.file", "write.pipe", "write.socket", "write.other"};

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// The first part of what `parts` hold: room for `size` bytes in all. What is left out has no bytes.
class FirstParts {
 public:
  FirstParts(const iovec* parts, std::size_t count) : count_(count) {
    if (count > parts_.size()) return;
    for (std::size_t i = 0; i < count; ++i) {
      parts_[i] = parts[i];
      size_ += parts[i].iov_len;
    }
    whole_ = size_;
  }
  std::size_t& size() { return size_; }
  bool isShort() const { return size_ < whole_; }
  iovec* cut() {
    std::size_t left = size_;
    for (std::size_t i = 0; i < count_; ++i) {
      if (parts_[i].iov_len > left) parts_[i].iov_len = left;
      left -= parts_[i].iov_len;
    }
    return parts_.data();
  }

 private:
  std::array<iovec, 64> parts_{};
  std::size_t count_;
  std::size_t size_ = 0;
  std::size_t whole_ = 0;
};

}  // namespace

// A function of that name, of which the parameters are given twice: as declared and as handed on.
#define KELPIE_FAULT(KIND, RESULT, FAILURE, NAME, PARAMETERS, ARGUMENTS) \
  extern "C" RESULT kelpieFault_##NAME PARAMETERS __asm__(#NAME);        \
  extern "C" RESULT kelpieFault_##NAME PARAMETERS {                      \
    static auto* const original = next<RESULT PARAMETERS>(#NAME);        \
    if (fails(KIND)) return FAILURE;                                     \
    return original ARGUMENTS;                                           \
  }
// One that says -1.
#define KELPIE_FAULT_INT(KIND, NAME, PARAMETERS, ARGUMENTS) \
  KELPIE_FAULT(KIND, int, -1, NAME, PARAMETERS, ARGUMENTS)

// -- Files and folders ----------------------------------------------------------------------------

KELPIE_FAULT_INT("open", open, (const char* path, int flags, unsigned mode), (path, flags, mode))
KELPIE_FAULT_INT("open", open64, (const char* path, int flags, unsigned mode), (path, flags, mode))
KELPIE_FAULT_INT("open", openat, (int at, const char* path, int flags, unsigned mode),
                 (at, path, flags, mode))
KELPIE_FAULT_INT("open", openat64, (int at, const char* path, int flags, unsigned mode),
                 (at, path, flags, mode))
KELPIE_FAULT_INT("open", __open_2, (const char* path, int flags), (path, flags))
KELPIE_FAULT_INT("open", __open64_2, (const char* path, int flags), (path, flags))
KELPIE_FAULT("open", FILE*, nullptr, fopen, (const char* path, const char* mode), (path, mode))
KELPIE_FAULT("open", FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))
KELPIE_FAULT("opendir", DIR*, nullptr, opendir, (const char* path), (path))
KELPIE_FAULT("opendir", DIR*, nullptr, fdopendir, (int fd), (fd))
KELPIE_FAULT("readdir", dirent*, nullptr, readdir, (DIR * folder), (folder))
KELPIE_FAULT("readdir", dirent64*, nullptr, readdir64, (DIR * folder), (folder))
KELPIE_FAULT_INT("stat", stat, (const char* path, void* status), (path, status))
KELPIE_FAULT_INT("stat", stat64, (const char* path, void* status), (path, status))
KELPIE_FAULT_INT("stat", lstat, (const char* path, void* status), (path, status))
KELPIE_FAULT_INT("stat", lstat64, (const char* path, void* status), (path, status))
KELPIE_FAULT_INT("stat", fstatat, (int at, const char* path, void* status, int flags),
                 (at, path, status, flags))
KELPIE_FAULT_INT("stat", fstatat64, (int at, const char* path, void* status, int flags),
                 (at, path, status, flags))
KELPIE_FAULT_INT("stat", statx, (int at, const char* path, int flags, unsigned mask, void* status),
                 (at, path, flags, mask, status))
KELPIE_FAULT_INT("fstat", fstat, (int fd, void* status), (fd, status))
KELPIE_FAULT_INT("fstat", fstat64, (int fd, void* status), (fd, status))
KELPIE_FAULT_INT("statfs", fstatfs, (int fd, void* status), (fd, status))
KELPIE_FAULT_INT("access", access, (const char* path, int mode), (path, mode))
KELPIE_FAULT("readlink", ssize_t, -1, readlink, (const char* path, char* text, std::size_t size),
             (path, text, size))
KELPIE_FAULT("readlink", ssize_t, -1, readlinkat,
             (int at, const char* path, char* text, std::size_t size), (at, path, text, size))
KELPIE_FAULT("realpath", char*, nullptr, realpath, (const char* path, char* resolved),
             (path, resolved))
KELPIE_FAULT("realpath", char*, nullptr, __realpath_chk,
             (const char* path, char* resolved, std::size_t size), (path, resolved, size))
KELPIE_FAULT_INT("mkdir", mkdir, (const char* path, unsigned mode), (path, mode))
KELPIE_FAULT_INT("mkdir", mkdirat, (int at, const char* path, unsigned mode), (at, path, mode))
KELPIE_FAULT("mktemp", char*, nullptr, mkdtemp, (char* path), (path))
KELPIE_FAULT_INT("mktemp", mkstemp, (char* path), (path))
KELPIE_FAULT_INT("mktemp", mkostemp, (char* path, int flags), (path, flags))
KELPIE_FAULT_INT("mktemp", mkostemp64, (char* path, int flags), (path, flags))
KELPIE_FAULT_INT("mktemp", memfd_create, (const char* name, unsigned flags), (name, flags))
KELPIE_FAULT_INT("rename", rename, (const char* from, const char* to), (from, to))
KELPIE_FAULT_INT("rename", renameat, (int at, const char* from, int there, const char* to),
                 (at, from, there, to))
KELPIE_FAULT_INT("rename", renameat2,
                 (int at, const char* from, int there, const char* to, unsigned flags),
                 (at, from, there, to, flags))
KELPIE_FAULT_INT("link", link, (const char* from, const char* to), (from, to))
KELPIE_FAULT_INT("link", linkat, (int at, const char* from, int there, const char* to, int flags),
                 (at, from, there, to, flags))
KELPIE_FAULT_INT("link", symlink, (const char* target, const char* path), (target, path))
KELPIE_FAULT_INT("link", symlinkat, (const char* target, int at, const char* path),
                 (target, at, path))
KELPIE_FAULT_INT("unlink", unlink, (const char* path), (path))
KELPIE_FAULT_INT("unlink", unlinkat, (int at, const char* path, int flags), (at, path, flags))
KELPIE_FAULT_INT("unlink", rmdir, (const char* path), (path))
KELPIE_FAULT_INT("unlink", remove, (const char* path), (path))
KELPIE_FAULT_INT("fsync", fsync, (int fd), (fd))
KELPIE_FAULT_INT("fsync", fdatasync, (int fd), (fd))
KELPIE_FAULT_INT("truncate", ftruncate, (int fd, long size), (fd, size))
KELPIE_FAULT_INT("truncate", ftruncate64, (int fd, long size), (fd, size))
KELPIE_FAULT_INT("chmod", chmod, (const char* path, unsigned mode), (path, mode))
KELPIE_FAULT_INT("chmod", fchmod, (int fd, unsigned mode), (fd, mode))
KELPIE_FAULT_INT("chmod", fchmodat, (int at, const char* path, unsigned mode, int flags),
                 (at, path, mode, flags))
KELPIE_FAULT_INT("chmod", utimensat, (int at, const char* path, const void* times, int flags),
                 (at, path, times, flags))
KELPIE_FAULT_INT("chmod", futimens, (int fd, const void* times), (fd, times))
KELPIE_FAULT_INT("flock", flock, (int fd, int operation), (fd, operation))
KELPIE_FAULT("lseek", long, -1, lseek, (int fd, long offset, int from), (fd, offset, from))
KELPIE_FAULT("lseek", long, -1, lseek64, (int fd, long offset, int from), (fd, offset, from))
KELPIE_FAULT("getcwd", char*, nullptr, getcwd, (char* path, std::size_t size), (path, size))

// -- Sockets, pipes, events -----------------------------------------------------------------------

KELPIE_FAULT_INT("socket", socket, (int domain, int type, int protocol), (domain, type, protocol))
KELPIE_FAULT_INT("socket", socketpair, (int domain, int type, int protocol, int* ends),
                 (domain, type, protocol, ends))
KELPIE_FAULT_INT("bind", bind, (int fd, const void* address, unsigned size), (fd, address, size))
KELPIE_FAULT_INT("listen", listen, (int fd, int backlog), (fd, backlog))
KELPIE_FAULT_INT("connect", connect, (int fd, const void* address, unsigned size),
                 (fd, address, size))
KELPIE_FAULT_INT("accept", accept, (int fd, void* address, unsigned* size), (fd, address, size))
KELPIE_FAULT_INT("accept", accept4, (int fd, void* address, unsigned* size, int flags),
                 (fd, address, size, flags))
KELPIE_FAULT_INT("pipe", pipe, (int* ends), (ends))
KELPIE_FAULT_INT("pipe", pipe2, (int* ends, int flags), (ends, flags))
KELPIE_FAULT_INT("eventfd", eventfd, (unsigned value, int flags), (value, flags))
KELPIE_FAULT_INT("poll", poll, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout))
KELPIE_FAULT_INT("poll", __poll_chk, (pollfd * fds, nfds_t count, int timeout, std::size_t size),
                 (fds, count, timeout, size))
KELPIE_FAULT_INT("poll", ppoll, (pollfd * fds, nfds_t count, const void* timeout, const void* mask),
                 (fds, count, timeout, mask))
KELPIE_FAULT_INT("inotify_init", inotify_init1, (int flags), (flags))
KELPIE_FAULT_INT("inotify_add_watch", inotify_add_watch, (int fd, const char* path, unsigned mask),
                 (fd, path, mask))
KELPIE_FAULT_INT("dup", dup, (int fd), (fd))
KELPIE_FAULT_INT("dup", dup2, (int fd, int to), (fd, to))

// -- Processes and threads ------------------------------------------------------------------------

KELPIE_FAULT_INT("fork", fork, (), ())
// The child must not return from here into memory that it shares: it gets a copy.
extern "C" int kelpieFault_vfork() __asm__("vfork");
extern "C" int kelpieFault_vfork() {
  static auto* const original = next<int()>("fork");
  return fails("fork") ? -1 : original();
}
KELPIE_FAULT_INT("execve", execve,
                 (const char* path, char* const* arguments, char* const* environment),
                 (path, arguments, environment))
KELPIE_FAULT_INT("execve", execv, (const char* path, char* const* arguments), (path, arguments))
KELPIE_FAULT_INT("execve", execvp, (const char* path, char* const* arguments), (path, arguments))
KELPIE_FAULT_INT("execve", execvpe,
                 (const char* path, char* const* arguments, char* const* environment),
                 (path, arguments, environment))
KELPIE_FAULT_INT("waitpid", waitpid, (int process, int* status, int options),
                 (process, status, options))
KELPIE_FAULT_INT("setrlimit", setrlimit, (int resource, const void* limit), (resource, limit))
KELPIE_FAULT_INT("setrlimit", setrlimit64, (int resource, const void* limit), (resource, limit))
KELPIE_FAULT("spawn", int, errno, posix_spawn,
             (int* process, const char* path, const void* actions, const void* attributes,
              char* const* arguments, char* const* environment),
             (process, path, actions, attributes, arguments, environment))
KELPIE_FAULT("spawn", int, errno, posix_spawnp,
             (int* process, const char* path, const void* actions, const void* attributes,
              char* const* arguments, char* const* environment),
             (process, path, actions, attributes, arguments, environment))
KELPIE_FAULT("thread", int, errno, pthread_create,
             (void* thread, const void* attributes, void* (*start)(void*), void* argument),
             (thread, attributes, start, argument))

extern "C" long kelpieFault_syscall(long number, long a, long b, long c, long d, long e,
                                    long f) __asm__("syscall");
extern "C" long kelpieFault_syscall(long number, long a, long b, long c, long d, long e, long f) {
  static auto* const original = next<long(long, long, long, long, long, long, long)>("syscall");
  if (number == SYS_pidfd_open && fails("pidfd_open")) return -1;
  return original(number, a, b, c, d, e, f);
}

// The descriptor is closed all the same, as it is by the system.
extern "C" int kelpieFault_close(int fd) __asm__("close");
extern "C" int kelpieFault_close(int fd) {
  static auto* const original = next<int(int)>("close");
  const bool failed = fails("close");
  const int error = errno;
  const int result = original(fd);
  if (!failed) return result;
  errno = error;
  return -1;
}

// -- What moves bytes -----------------------------------------------------------------------------

#define KELPIE_FAULT_BYTES(KIND, NAME, PARAMETERS, ARGUMENTS)      \
  extern "C" ssize_t kelpieFault_##NAME PARAMETERS __asm__(#NAME); \
  extern "C" ssize_t kelpieFault_##NAME PARAMETERS {               \
    static auto* const original = next<ssize_t PARAMETERS>(#NAME); \
    if (failsOrIsShort(KIND, size)) return -1;                     \
    return original ARGUMENTS;                                     \
  }

KELPIE_FAULT_BYTES(kReads.of(fd), read, (int fd, void* bytes, std::size_t size), (fd, bytes, size))
KELPIE_FAULT_BYTES(kReads.of(fd), __read_chk,
                   (int fd, void* bytes, std::size_t size, std::size_t room),
                   (fd, bytes, size, room))
KELPIE_FAULT_BYTES(kWrites.of(fd), write, (int fd, const void* bytes, std::size_t size),
                   (fd, bytes, size))
KELPIE_FAULT_BYTES("read.socket", recv, (int fd, void* bytes, std::size_t size, int flags),
                   (fd, bytes, size, flags))
KELPIE_FAULT_BYTES("write.socket", send, (int fd, const void* bytes, std::size_t size, int flags),
                   (fd, bytes, size, flags))

extern "C" ssize_t kelpieFault_writev(int fd, const iovec* parts, int count) __asm__("writev");
extern "C" ssize_t kelpieFault_writev(int fd, const iovec* parts, int count) {
  static auto* const original = next<ssize_t(int, const iovec*, int)>("writev");
  FirstParts first(parts, static_cast<std::size_t>(count));
  if (failsOrIsShort(kWrites.of(fd), first.size())) return -1;
  return original(fd, first.isShort() ? first.cut() : parts, count);
}

// The message with its first part only, if the call is to be short.
template <class Call>
static ssize_t moveMessage(const char* kind, const msghdr* message, Call call) {
  FirstParts first(message->msg_iov, message->msg_iovlen);
  if (failsOrIsShort(kind, first.size())) return -1;
  if (!first.isShort()) return call(message);
  msghdr part = *message;
  part.msg_iov = first.cut();
  return call(&part);
}

extern "C" ssize_t kelpieFault_sendmsg(int fd, const msghdr* message, int flags) __asm__("sendmsg");
extern "C" ssize_t kelpieFault_sendmsg(int fd, const msghdr* message, int flags) {
  static auto* const original = next<ssize_t(int, const msghdr*, int)>("sendmsg");
  return moveMessage("write.socket", message,
                     [&](const msghdr* part) { return original(fd, part, flags); });
}

extern "C" ssize_t kelpieFault_recvmsg(int fd, msghdr* message, int flags) __asm__("recvmsg");
extern "C" ssize_t kelpieFault_recvmsg(int fd, msghdr* message, int flags) {
  static auto* const original = next<ssize_t(int, msghdr*, int)>("recvmsg");
  return moveMessage("read.socket", message, [&](const msghdr* part) {
    auto* taken = const_cast<msghdr*>(part);
    const ssize_t size = original(fd, taken, flags);
    message->msg_controllen = taken->msg_controllen;
    message->msg_namelen = taken->msg_namelen;
    message->msg_flags = taken->msg_flags;
    return size;
  });
}

// -- Memory ---------------------------------------------------------------------------------------

// The system's own, by names that need not be looked up: looking up needs memory.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

extern "C" void* kelpieFault_malloc(std::size_t size) __asm__("malloc");
extern "C" void* kelpieFault_malloc(std::size_t size) {
  return fails("malloc") ? nullptr : __libc_malloc(size);
}
extern "C" void* kelpieFault_calloc(std::size_t count, std::size_t size) __asm__("calloc");
extern "C" void* kelpieFault_calloc(std::size_t count, std::size_t size) {
  return fails("malloc") ? nullptr : __libc_calloc(count, size);
}
extern "C" void* kelpieFault_realloc(void* memory, std::size_t size) __asm__("realloc");
extern "C" void* kelpieFault_realloc(void* memory, std::size_t size) {
  return fails("malloc") ? nullptr : __libc_realloc(memory, size);
}
