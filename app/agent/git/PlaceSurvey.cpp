#include "agent/git/PlaceSurvey.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

namespace kelpie::agent {
namespace {

// So many files are looked at before reading the whole seems as cheap.
constexpr std::size_t kMostLooks = 32768;

struct CloseSurveyed {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool hasEntry(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace

std::string PlaceSurvey::objectionTo(const std::vector<std::string>& paths,
                                     const StatusSnapshot& known) {
  for (const std::string& path : paths)
    if (isInRepository(path)) return "a repository of its own is concerned";
  for (const auto& [folder, entries] : places_.folders()) {
    const std::string around = folder.empty() ? root_ : root_ + "/" + folder;
    bool isLinked = entries.areMany && hasOtherName(around);
    for (const std::string& name : entries.names)
      isLinked = isLinked || hasOtherName(std::string(around).append("/").append(name));
    if (isLinked) return "a file with several names may be concerned";
    if (looks_ > kMostLooks) return "too many files are concerned";
  }
  // Git takes a file that is not checked out for one that is when it finds it through a link that
  // stands in place of its folder: then it depends on what is where the link leads to.
  if (known.terms() != nullptr && known.terms()->isSparse && hasLink(known))
    return "a link may lead to files that are not checked out";
  return {};
}

bool PlaceSurvey::hasLink(const StatusSnapshot& known) {
  return std::ranges::any_of(known.items(), [this](const StatusItem& item) {
    if (item.isFolder || (item.word != KPStatusWorkdirNew && item.word != KPStatusIgnored))
      return false;
    struct stat status {};
    return ++looks_ > kMostLooks ||
           (lstat((root_ + "/" + item.path).c_str(), &status) == 0 && S_ISLNK(status.st_mode));
  });
}

bool PlaceSurvey::isInRepository(std::string_view path) {
  for (;;) {
    if (plainFolders_.contains(path)) return false;
    if (hasEntry(root_ + "/" + std::string(path) + "/.git")) return true;
    plainFolders_.emplace(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return false;
    path = path.substr(0, slash);
  }
}

// Folders are walked through, since nothing may be known yet of what lies in one that is new.
bool PlaceSurvey::hasOtherName(const std::string& path) {
  std::vector<std::string> waiting = {path};
  while (!waiting.empty()) {
    const std::string next = std::move(waiting.back());
    waiting.pop_back();
    struct stat status {};
    if (++looks_ > kMostLooks || lstat(next.c_str(), &status) != 0) continue;
    if (S_ISREG(status.st_mode) && status.st_nlink > 1) return true;
    if (!S_ISDIR(status.st_mode)) continue;
    const std::unique_ptr<DIR, CloseSurveyed> open(opendir(next.c_str()));
    while (const dirent* entry = open ? readdir(open.get()) : nullptr) {
      const std::string_view name = static_cast<const char*>(entry->d_name);
      if (looks_ + waiting.size() > kMostLooks) break;
      if (name != "." && name != ".." && name != ".git")
        waiting.push_back(std::string(next).append("/").append(name));
    }
  }
  return false;
}

}  // namespace kelpie::agent
