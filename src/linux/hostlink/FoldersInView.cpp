#include "linux/hostlink/FoldersInView.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>

namespace kelpie {
namespace {

// A folder that is removed may give its number to the next one, but not the time when it was made.
struct Folder {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  std::int64_t seconds = 0;
  std::uint32_t nanoseconds = 0;

  friend bool operator==(const Folder&, const Folder&) = default;
};

std::optional<Folder> folderAt(const std::string& path) {
  struct statx found = {};
  if (statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &found) != 0) return std::nullopt;
  return Folder{std::uint64_t{found.stx_dev_major} << 32U | found.stx_dev_minor, found.stx_ino,
                found.stx_btime.tv_sec, found.stx_btime.tv_nsec};
}

}  // namespace

struct FoldersInView::Seen {
  std::unordered_map<std::string, std::optional<Folder>> folders;  // by path; empty: none was there
};

FoldersInView::FoldersInView(SerialQueues& queues, std::function<void(const URL& folder)> another)
    : main_(queues.mainQueue()),
      queue_(queues.makeQueue("org.kelpie.KelpieSync.FoldersInViewQueue")),
      seen_(std::make_shared<Seen>()),
      another_(std::make_shared<const std::function<void(const URL& folder)>>(std::move(another))) {
}

FoldersInView::~FoldersInView() = default;

void FoldersInView::begin(const URL& folder) {
  thread_.check();
  queue_->post([seen = seen_, path = folder.path()] { seen->folders[path] = folderAt(path); });
}

void FoldersInView::beginOnceMore(const URL& folder) {
  thread_.check();
  queue_->post([seen = seen_, main = main_, folder, weak = std::weak_ptr(another_)] {
    std::optional<Folder> now = folderAt(folder.path());
    std::optional<Folder>& before = seen->folders[folder.path()];
    if (before == now) return;
    before = now;
    main->post([folder, weak] {
      if (const auto another = weak.lock()) (*another)(folder);
    });
  });
}

void FoldersInView::end(const std::string& path) {
  thread_.check();
  queue_->post([seen = seen_, path] { seen->folders.erase(path); });
}

}  // namespace kelpie
