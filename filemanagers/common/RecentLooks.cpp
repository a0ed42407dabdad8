#include "common/RecentLooks.h"

#include <filesystem>
#include <system_error>

namespace kelpie::filemanagers {
namespace {

std::string parentOf(const std::string& path) { return std::string(ViewedItems::folderOf(path)); }

}  // namespace

FileManagerSession::Look RecentLooks::show(const std::string& path) {
  const auto* const token = items_.use(path);
  if (!isObserved(path)) return {};
  if (const std::string folder = parentOf(path); session_.isObserved(folder))
    session_.visit(folder);
  return session_.show(token, path, isFolder_(path));
}

bool RecentLooks::isObserved(const std::string& path) {
  const std::string folder = parentOf(path);
  if (!folder.empty() && session_.isObserved(folder)) return true;
  // It may be the uppermost of the observed folders.
  return session_.client().isReady() && session_.client().isObserved(path);
}

void RecentLooks::foldersChanged() {
  due_.clear();
  items_.forEach([this](const std::string& path) { due_.push_back(path); });
}

bool RecentLooks::showNext(const std::function<void(const std::string& path)>& again) {
  if (!due_.empty()) {
    const std::string path = std::move(due_.front());
    due_.pop_front();
    // One that is not observed looks as before: the end of what was known is told of by itself.
    if (isObserved(path)) again(path);
  } else if (const auto* const token = session_.takeChanged()) {
    again(std::string(RecentItems::pathOf(token)));
  }
  return !due_.empty() || session_.hasChanged();
}

bool RecentLooks::isRealFolder(const std::string& path) {
  std::error_code error;
  return std::filesystem::symlink_status(path, error).type() ==
         std::filesystem::file_type::directory;
}

}  // namespace kelpie::filemanagers
