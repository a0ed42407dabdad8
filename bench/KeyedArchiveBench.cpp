// What does it cost to decode a status message and to walk through all its entries? Measured
// against a bare parse of the same property list by libplist, against reading the file and copying
// its bytes, and, where the archive is small enough for it, against GNUstep's unarchiver. Each in a
// process of its own, so that its memory can be told: on top of the archive's bytes.
//
// The message: that many entries, which lie 50 to a folder at a path of about a hundred bytes, with
// fifteen status words in turn and an identifier of 16 bytes each; each tenth item is in the list
// of the changed ones as well. The bars, at 100,000 entries: six times as fast as libplist, less
// than four times reading and copying; at 17,000 entries: 25 times as fast as GNUstep.
//
// Before anything is timed, what the walk finds is compared with what the eager conversion holds,
// which makes a value of everything, entry by entry.

#include <benchmark/benchmark.h>
#include <plist/plist.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "archive/KeyedUnarchiver.h"
#include "foundation/ObjectView.h"
#include "foundation/URL.h"
#include "harness/BenchFiles.h"
#include "harness/PeakMemory.h"
#include "harness/StatusMessages.h"
#include "harness/Timing.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr int kRounds = 7;
// Beyond that many entries a round takes seconds: there are fewer of them, and none that makes a
// value of everything.
constexpr int kEntriesOfQuickRounds = 100'000;
constexpr int kSlowRounds = 3;

// The archive of a status message of that many entries, on disk.
class ArchiveFile {
 public:
  explicit ArchiveFile(int entries) : path_(folder_ / "archive") {
    Dictionary status;
    Objects dirty;
    for (int i = 0; i < entries; ++i) {
      const std::string path = folderOf(i) + "/file_" + std::to_string(i) + ".txt";
      status.set(identifierOfNoFile(i), Objects{Object(1 << (i % 15)), Object(path)});
      if (i % 10 == 0) dirty.emplace_back(URL::fileURLWithPath(path));
    }
    const auto message = archived(statusInfo(std::move(status), std::move(dirty)));
    size_ = message->size();
    std::ofstream file(path_, std::ios::binary);
    std::copy(message->begin(), message->end(), std::ostreambuf_iterator<char>(file));
  }

  const std::string& path() const { return path_; }
  std::size_t size() const { return size_; }
  std::shared_ptr<const Bytes> bytes() const {
    std::ifstream file(path_, std::ios::binary);
    auto bytes = std::make_shared<Bytes>(size_);
    file.read(reinterpret_cast<char*>(bytes->data()), static_cast<std::streamsize>(size_));
    return bytes;
  }

 private:
  static std::string folderOf(int i) {
    return "/home/user/code/a-repository-of-some-size/directory_" + std::to_string(i / 500) +
           "/subdirectory_" + std::to_string(i / 50 % 10);
  }

  TemporaryFolder folder_{roomyFolder()};
  std::string path_;
  std::size_t size_ = 0;
};

struct Measured {
  double milliseconds = 0;  // of the median round
  double memory = 0;        // bytes on top of the archive's own
};

// `round` in a process of its own; it answers something that depends on what it read.
Measured measured(const std::function<std::size_t(const std::shared_ptr<const Bytes>&)>& round,
                  const ArchiveFile& archive, int rounds) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) return {};
  const pid_t child = ::fork();
  if (child == 0) {
    Measured result;
    const auto bytes = archive.bytes();
    const PeakMemory peak;
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
      const double start = kelpie::milliseconds();
      benchmark::DoNotOptimize(round(bytes));
      times.push_back(kelpie::milliseconds() - start);
    }
    result = {median(std::move(times)), peak.growth()};
    ::_exit(::write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
  }
  ::close(ends[1]);
  Measured result;
  if (::read(ends[0], &result, sizeof result) != sizeof result) result = {};
  ::close(ends[0]);
  ::waitpid(child, nullptr, 0);
  return result;
}

// Every entry's key, word and path, in place.
std::size_t walk(const std::shared_ptr<const Bytes>& bytes) {
  const Object info = KeyedUnarchiver::open(bytes);
  std::size_t sum = 0;
  ObjectView(info)["KPRepositoryStatus"].forEachEntry([&sum](ObjectView key, ObjectView entry) {
    sum += key.data().value_or(ByteView()).size() + entry.at(0).unsignedShortValue() +
           entry.at(1).pathBytes().value_or("").size();
    return true;
  });
  return sum;
}

std::size_t convert(const std::shared_ptr<const Bytes>& bytes) {
  return KeyedUnarchiver::unarchiveObject(*bytes).dictionary().entries().size();
}

// Whether the walk finds the keys, words and paths that the conversion holds, in its order.
bool isRight(const std::shared_ptr<const Bytes>& bytes, std::size_t entries) {
  const Dictionary known =
      KeyedUnarchiver::unarchiveObject(*bytes)["KPRepositoryStatus"].dictionary();
  const Object info = KeyedUnarchiver::open(bytes);
  std::size_t found = 0;
  std::size_t right = 0;
  ObjectView(info)["KPRepositoryStatus"].forEachEntry([&](ObjectView key, ObjectView entry) {
    if (found == known.size()) return false;
    const auto& [knownKey, knownEntry] = known.entries()[found++];
    const ByteView data = key.data().value_or(ByteView());
    const bool same = knownKey.data() == Bytes(data.begin(), data.end()) &&
                      knownEntry.at(0).unsignedShortValue() == entry.at(0).unsignedShortValue() &&
                      knownEntry.at(1).pathBytes() == entry.at(1).pathBytes();
    right += same ? 1U : 0U;
    return true;
  });
  return known.size() == entries && right == entries;
}

std::size_t parseWithLibplist(const std::shared_ptr<const Bytes>& bytes) {
  plist_t list = nullptr;
  plist_from_bin(reinterpret_cast<const char*>(bytes->data()),
                 static_cast<std::uint32_t>(bytes->size()), &list);
  const std::size_t size = list == nullptr ? 0 : plist_dict_get_size(list);
  plist_free(list);
  return size;
}

std::size_t readAndCopy(const std::string& path, std::size_t size) {
  Bytes bytes(size);
  Bytes copy(size);
  std::FILE* file = std::fopen(path.c_str(), "rb");
  const std::size_t read = std::fread(bytes.data(), 1, size, file);
  std::fclose(file);
  std::memcpy(copy.data(), bytes.data(), size);
  benchmark::DoNotOptimize(copy.data());
  return read;
}

// What GNUstep's unarchiver takes, as the reader of the tests tells it.
Measured measuredWithGNUstep(const ArchiveFile& archive) {
  const std::string command = std::string(KELPIE_DESCRIBE_ARCHIVE) + " --time " +
                              std::to_string(kRounds) + " " + archive.path();
  std::FILE* output = ::popen(command.c_str(), "r");
  std::vector<double> numbers;
  double number = 0;
  while (output != nullptr && std::fscanf(output, "%lf", &number) == 1) numbers.push_back(number);
  if (output == nullptr || ::pclose(output) != 0 || numbers.size() != kRounds + 1) return {};
  const double memory = numbers.back() * 1024;
  numbers.pop_back();
  return {median(std::move(numbers)), memory};
}

void StatusMessage(benchmark::State& state) {
  const ArchiveFile archive(static_cast<int>(state.range(0)));
  const bool forGNUstep = state.range(1) != 0;
  if (!isRight(archive.bytes(), static_cast<std::size_t>(state.range(0)))) {
    state.SkipWithError("entries were not read as they are: the time means nothing");
    return;
  }
  const bool isQuick = state.range(0) <= kEntriesOfQuickRounds;
  const int rounds = isQuick ? kRounds : kSlowRounds;
  const auto bytesSize = static_cast<double>(archive.size());
  for (auto _ : state) {
    const Measured view = measured(walk, archive, rounds);
    state.SetIterationTime(view.milliseconds / 1000);
    state.counters["MB"] = bytesSize / 1e6;
    state.counters["view_ms"] = view.milliseconds;
    state.counters["view_memory_%"] = 100 * view.memory / bytesSize;
    state.counters["peak_MB"] = view.memory / 1e6;

    if (isQuick) {
      const Measured eager = measured(convert, archive, rounds);
      state.counters["eager_ms"] = eager.milliseconds;
      state.counters["eager_memory_%"] = 100 * eager.memory / bytesSize;
    }

    const Measured libplist = measured(parseWithLibplist, archive, rounds);
    state.counters["libplist_ms"] = libplist.milliseconds;
    state.counters["libplist_memory_%"] = 100 * libplist.memory / bytesSize;
    state.counters["libplist/view"] = libplist.milliseconds / view.milliseconds;

    const Measured copy =
        measured([&archive](const auto&) { return readAndCopy(archive.path(), archive.size()); },
                 archive, rounds);
    state.counters["copy_ms"] = copy.milliseconds;
    state.counters["copy/view"] = copy.milliseconds / view.milliseconds;

    if (!forGNUstep) continue;
    const Measured gnustep = measuredWithGNUstep(archive);
    if (gnustep.milliseconds == 0) state.SkipWithError("GNUstep did not decode the archive");
    state.counters["gnustep_ms"] = gnustep.milliseconds;
    state.counters["gnustep_memory_%"] = 100 * gnustep.memory / bytesSize;
    state.counters["gnustep/view"] = gnustep.milliseconds / view.milliseconds;
  }
}
// GNUstep reads archives of at most 65,535 objects.
BENCHMARK(StatusMessage)
    ->ArgNames({"entries", "gnustep"})
    ->Args({1'000, 1})
    ->Args({17'000, 1})
    ->Args({100'000, 0})
    ->Args({400'000, 0})
    ->Args({1'000'000, 0})
    ->Iterations(1)
    ->UseManualTime();

}  // namespace
}  // namespace kelpie
