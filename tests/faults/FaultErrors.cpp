#include "faults/FaultErrors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

namespace kelpie {
namespace {

struct Row {
  std::string_view call;
  std::vector<std::string> errors;
};

std::string number(int error) { return std::to_string(error); }

const std::string kShort = "short";

const std::vector<Row>& rows() {
  static const std::vector<Row> table = {
      {"open", {number(EMFILE), number(EACCES), number(ENOENT), number(EINTR)}},
      {"opendir", {number(EMFILE), number(EACCES), number(ENOENT)}},
      {"readdir", {number(EIO)}},
      {"stat", {number(ENOENT), number(EACCES)}},
      {"fstat", {number(EIO)}},
      {"statfs", {number(EIO)}},
      {"access", {number(ENOENT)}},
      {"readlink", {number(ENOENT), number(EACCES)}},
      {"realpath", {number(ENOENT), number(EACCES)}},
      {"mkdir", {number(ENOSPC), number(EACCES)}},
      {"mktemp", {number(ENOSPC), number(EMFILE), number(EACCES)}},
      {"rename", {number(ENOSPC), number(EACCES)}},
      {"link", {number(EACCES)}},
      {"unlink", {number(EACCES)}},
      {"fsync", {number(ENOSPC), number(EIO)}},
      {"truncate", {number(ENOSPC)}},
      {"chmod", {number(EPERM)}},
      {"flock", {number(EINTR), number(ENOLCK)}},
      {"lseek", {number(EINVAL)}},
      {"getcwd", {number(ENOENT)}},
      {"close", {number(EINTR), number(EIO)}},
      {"read.file", {number(EINTR), number(EIO), kShort}},
      {"read.pipe", {number(EINTR), kShort}},
      {"read.socket", {number(EINTR), number(EAGAIN), kShort}},
      {"read.other", {number(EINTR), number(EAGAIN)}},
      {"write.file", {number(ENOSPC), number(EINTR), number(EIO), kShort}},
      {"write.pipe", {number(EAGAIN), number(EINTR), kShort}},
      {"write.socket", {number(EAGAIN), number(EINTR), number(ENOBUFS), kShort}},
      {"write.other", {number(EINTR)}},
      {"socket", {number(EMFILE)}},
      {"bind", {number(EACCES)}},
      {"listen", {number(EADDRINUSE)}},
      {"connect", {number(EAGAIN), number(EINTR), number(ECONNREFUSED)}},
      {"accept", {number(EMFILE), number(EINTR), number(ECONNABORTED)}},
      {"pipe", {number(EMFILE)}},
      {"eventfd", {number(EMFILE)}},
      {"poll", {number(EINTR), number(ENOMEM)}},
      {"inotify_init", {number(EMFILE)}},
      {"inotify_add_watch", {number(ENOSPC), number(ENOMEM), number(EACCES), number(ENOENT)}},
      {"dup", {number(EMFILE)}},
      {"fork", {number(EAGAIN), number(ENOMEM)}},
      {"spawn", {number(EAGAIN), number(ENOMEM)}},
      {"execve", {number(ENOENT), number(ENOMEM)}},
      {"waitpid", {number(EINTR)}},
      {"pidfd_open", {number(EMFILE)}},
      {"thread", {number(EAGAIN)}},
      {"setrlimit", {number(EPERM)}},
      {"malloc", {number(ENOMEM)}},
  };
  return table;
}

}  // namespace

std::span<const std::string> FaultErrors::of(std::string_view call) {
  const auto row = std::ranges::find(rows(), call, &Row::call);
  if (row == rows().end()) return {};
  return row->errors;
}

std::string FaultErrors::nameOf(const std::string& error) {
  if (error == kShort) return error;
  const char* name = ::strerrorname_np(std::stoi(error));
  return name == nullptr ? error : name;
}

}  // namespace kelpie
