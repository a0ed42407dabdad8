#include "FaultPlan.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kelpie::faults {
namespace {

constexpr std::size_t kKinds = 64;
constexpr std::size_t kText = 512;
constexpr int kShort = -1;
// Above what a program has open, so that the numbers of its own descriptors stay as they are.
constexpr int kTraceDescriptor = 900;

struct Count {
  std::atomic<const char*> kind = nullptr;
  std::atomic<long> calls = 0;
};
// Shared with the children that have not yet become another program.
struct Counts {
  std::array<Count, kKinds> rows;
  std::atomic<bool> reported = false;
};

struct Plan {
  bool active = false;
  std::array<char, kText> program{};
  std::array<char, kText> report{};
  std::array<char, kText> kind{};
  std::array<char, kText> untraced{};
  long at = 0;
  long times = 1;
  int error = 0;
  int trace = -1;
  Counts* counts = nullptr;
  pid_t process = 0;
};

Plan plan;
// Nothing is counted that is called from here.
thread_local bool busy = false;

class Busy {
 public:
  Busy() { busy = true; }
  ~Busy() { busy = false; }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;
};

const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

template <std::size_t kSize>
void copyText(std::array<char, kSize>& to, const char* text) {
  std::snprintf(to.data(), to.size(), "%s", text);
}

// The name of the program, and its first argument.
std::array<char, kText> ownLabel(int count, char** arguments) {
  std::array<char, kText> path{};
  std::array<char, kText> label{};
  if (::syscall(SYS_readlinkat, AT_FDCWD, "/proc/self/exe", path.data(), path.size() - 1) <= 0)
    return label;
  const char* slash = std::strrchr(path.data(), '/');
  copyText(label, slash == nullptr ? path.data() : slash + 1);
  const std::size_t length = std::strlen(label.data());
  if (count > 1) std::snprintf(label.data() + length, label.size() - length, " %s", arguments[1]);
  return label;
}

int openFile(const char* path, int flags) {
  constexpr mode_t kMode = S_IRUSR | S_IWUSR;
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, kMode));
}

void openTrace(const char* path) {
  if (*path == '\0') return;
  const int file = openFile(path, O_WRONLY | O_CREAT | O_APPEND);
  if (file < 0) return;
  plan.trace = static_cast<int>(::syscall(SYS_fcntl, file, F_DUPFD_CLOEXEC, kTraceDescriptor));
  ::syscall(SYS_close, file);
}

// Before the program's own constructors, as far as the loader allows.
__attribute__((constructor)) void readPlan(int count, char** arguments, char** /*environment*/) {
  const Busy here;
  const char* wanted = variable("KELPIE_FAULT_PROGRAM");
  plan.program = ownLabel(count, arguments);
  if (*wanted == '\0' || std::strcmp(wanted, plan.program.data()) != 0) return;
  copyText(plan.report, variable("KELPIE_FAULT_REPORT"));
  copyText(plan.kind, variable("KELPIE_FAULT_CALL"));
  copyText(plan.untraced, variable("KELPIE_FAULT_UNTRACED"));
  plan.at = std::atol(variable("KELPIE_FAULT_AT"));
  const long times = std::atol(variable("KELPIE_FAULT_TIMES"));
  plan.times = times > 0 ? times : 1;
  const char* error = variable("KELPIE_FAULT_ERROR");
  plan.error = std::strcmp(error, "short") == 0 ? kShort : std::atoi(error);
  openTrace(variable("KELPIE_FAULT_TRACE"));
  void* memory =
      reinterpret_cast<void*>(::syscall(SYS_mmap, nullptr, sizeof(Counts), PROT_READ | PROT_WRITE,
                                        MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  if (memory == MAP_FAILED) return;
  plan.counts = static_cast<Counts*>(memory);  // zeroes are what its constructor would make
  const bool done =
      plan.report[0] != '\0' && ::syscall(SYS_faccessat, AT_FDCWD, plan.report.data(), F_OK) == 0;
  plan.process = ::getpid();
  std::array<void*, 4> first{};
  ::backtrace(first.data(), static_cast<int>(first.size()));  // loads what it needs
  // What the program starts is not meant.
  ::unsetenv("LD_PRELOAD");
  plan.active = !done;
}

// The number of this call among those of its kind.
long countOf(const char* kind) {
  for (Count& row : plan.counts->rows) {
    const char* expected = nullptr;
    const char* present = row.kind.load();
    if (present == nullptr && row.kind.compare_exchange_strong(expected, kind)) present = kind;
    if (present == nullptr) present = expected;
    if (std::strcmp(present, kind) == 0) return ++row.calls;
  }
  return 0;
}

// The functions that a call came through, the innermost first, without those of this library.
class Callers {
 public:
  // None in a child that is not yet another program: there the loader's lock may be held by a
  // thread that does not exist any more.
  Callers() {
    if (::getpid() != plan.process) return;
    Dl_info own{};
    if (::dladdr(&plan, &own) == 0) return;
    std::array<void*, 40> frames{};
    const int depth = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    for (int i = 0; i < depth; ++i) {
      Caller& caller = callers_[size_];
      void* address = frames[static_cast<std::size_t>(i)];
      if (::dladdr(address, &caller.module) == 0 || caller.module.dli_fbase == own.dli_fbase)
        continue;
      caller.offset = reinterpret_cast<std::uintptr_t>(address) -
                      reinterpret_cast<std::uintptr_t>(caller.module.dli_fbase);
      ++size_;
    }
  }

  // A number that is the same for the same callers, wherever they were loaded.
  unsigned long long place() const {
    std::uint64_t place = 0xcbf29ce484222325U;
    for (std::size_t i = 0; i < size_; ++i) place = (place ^ callers_[i].offset) * 0x100000001b3U;
    return place;
  }

  void writeTo(int file) const {
    std::array<char, kText> line{};
    for (std::size_t i = 0; i < size_; ++i) {
      const Caller& each = callers_[i];
      const int length =
          std::snprintf(line.data(), line.size(), "%s+0x%llx %s\n", each.module.dli_fname,
                        static_cast<unsigned long long>(each.offset),
                        each.module.dli_sname == nullptr ? "" : each.module.dli_sname);
      ::syscall(SYS_write, file, line.data(), static_cast<std::size_t>(length));
    }
  }

 private:
  struct Caller {
    Dl_info module{};
    std::uintptr_t offset = 0;
  };
  std::array<Caller, 40> callers_{};
  std::size_t size_ = 0;
};

void writeTrace(const char* kind, long number) {
  std::array<char, kText> line{};
  const int length = std::snprintf(line.data(), line.size(), "%s\t%s\t%ld\t%016llx\n",
                                   plan.program.data(), kind, number, Callers().place());
  ::syscall(SYS_write, plan.trace, line.data(), static_cast<std::size_t>(length));
}

void writeReport(const char* kind, long number) {
  if (plan.report[0] == '\0' || plan.counts->reported.exchange(true)) return;
  const int file = openFile(plan.report.data(), O_WRONLY | O_CREAT | O_APPEND);
  if (file < 0) return;
  std::array<char, kText> line{};
  const int length = std::snprintf(line.data(), line.size(), "%s: %s %ld: %d\n",
                                   plan.program.data(), kind, number, plan.error);
  ::syscall(SYS_write, file, line.data(), static_cast<std::size_t>(length));
  Callers().writeTo(file);
  ::syscall(SYS_close, file);
}

// Whether the call is one of those that the plan names.
bool isMeant(const char* kind) {
  if (!plan.active || busy) return false;
  const Busy here;
  const int former = errno;
  const long number = countOf(kind);
  if (plan.trace >= 0 && std::strcmp(kind, plan.untraced.data()) != 0) writeTrace(kind, number);
  const bool meant = plan.at > 0 && number >= plan.at && number < plan.at + plan.times &&
                     std::strcmp(kind, plan.kind.data()) == 0;
  if (meant) writeReport(kind, number);
  errno = former;
  return meant;
}

}  // namespace

bool fails(const char* kind) {
  if (!isMeant(kind) || plan.error == kShort) return false;
  errno = plan.error;
  return true;
}

bool failsOrIsShort(const char* kind, std::size_t& size) {
  if (!isMeant(kind)) return false;
  if (plan.error == kShort) {
    if (size > 1) size /= 2;
    return false;
  }
  errno = plan.error;
  return true;
}

const char* KindsByType::of(int fd) const {
  if (!plan.active || busy) return other;
  const int former = errno;
  struct stat status = {};
  const bool known = ::syscall(SYS_fstat, fd, &status) == 0;
  errno = former;
  if (!known) return other;
  switch (status.st_mode & S_IFMT) {
    case S_IFREG:
      return file;
    case S_IFIFO:
      return pipe;
    case S_IFSOCK:
      return socket;
    default:
      return other;
  }
}

}  // namespace kelpie::faults
