#include "agent/git/FileStamps.h"

#include <cstddef>
#include <ctime>
#include <utility>

namespace kelpie::agent {
namespace {

constexpr long kSecond = 1'000'000'000;
// The clock of file systems goes in steps: those of the system's timer, or of whole seconds.
constexpr long kStep = kSecond / 20;
constexpr long kCoarseStep = 2 * kSecond;

bool isSame(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// Whether another change could leave the same time.
bool isYoungAt(const timespec& now, const timespec& changed) {
  const long age = (now.tv_sec - changed.tv_sec) * kSecond + now.tv_nsec - changed.tv_nsec;
  return age < (changed.tv_nsec == 0 ? kCoarseStep : kStep);
}

}  // namespace

FileStamps::FileStamps(std::vector<std::string> files) : files_(std::move(files)) {
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  isYoung_ = false;
  stamps_.reserve(files_.size());
  for (const std::string& file : files_) {
    stamps_.push_back(stampOf(file));
    const Stamp& stamp = stamps_.back();
    if (stamp.isThere && !S_ISDIR(stamp.state.st_mode) && isYoungAt(now, stamp.state.st_ctim))
      isYoung_ = true;
  }
}

bool FileStamps::stillHold() const {
  if (isYoung_) return false;
  for (std::size_t i = 0; i < files_.size(); ++i)
    if (!isSame(stampOf(files_[i]), stamps_[i])) return false;
  return true;
}

FileStamps::Stamp FileStamps::stampOf(const std::string& file) {
  Stamp stamp;
  stamp.isThere = stat(file.c_str(), &stamp.state) == 0;
  return stamp;
}

bool FileStamps::isSame(const Stamp& a, const Stamp& b) {
  if (!a.isThere || !b.isThere) return a.isThere == b.isThere;
  if (a.state.st_dev != b.state.st_dev || a.state.st_ino != b.state.st_ino ||
      a.state.st_mode != b.state.st_mode)
    return false;
  // What lies in a folder comes and goes.
  if (S_ISDIR(a.state.st_mode)) return true;
  return a.state.st_size == b.state.st_size && agent::isSame(a.state.st_mtim, b.state.st_mtim) &&
         agent::isSame(a.state.st_ctim, b.state.st_ctim);
}

}  // namespace kelpie::agent
