#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie::agent {

// The files of a working folder, looked at and changed one by one. No symbolic link is ever
// followed, neither at the end of a path nor on the way there, so nothing outside the folder is
// reached. Paths are relative to the folder, bytes. One thread at a time; blocks as the file system
// does.
class WorkingFiles {
 public:
  enum class Kind {
    Missing,
    File,
    Link,
    Folder,
    Other,    // a pipe, a socket, a device
    Blocked,  // one of the folders above exists but is not a folder
  };
  // The traits that tell one state of a file from another. Empty for anything but files and links.
  struct Print {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::uint64_t size = 0;
    std::uint32_t mode = 0;
    std::int64_t modified = 0;  // nanoseconds
    std::int64_t changed = 0;   // nanoseconds
    friend bool operator==(const Print&, const Print&) = default;
  };
  struct Presence {
    Kind kind = Kind::Missing;
    Print print;
    std::string blockedBy;  // the path that is not a folder

    bool isContent() const { return kind == Kind::File || kind == Kind::Link; }
    friend bool operator==(const Presence&, const Presence&) = default;
  };

  explicit WorkingFiles(std::string root);
  ~WorkingFiles();
  WorkingFiles(const WorkingFiles&) = delete;
  WorkingFiles& operator=(const WorkingFiles&) = delete;

  const std::string& root() const { return root_; }
  Presence look(const std::string& path);
  // Whether the content of a file can be read.
  bool isReadable(const std::string& path);
  // Absent for anything but a link.
  std::optional<std::string> linkTarget(const std::string& path);
  // The files, links and other things in a folder and the folders below, at most `limit`; absent
  // when there are more, or when it cannot be read.
  std::optional<std::vector<std::string>> contents(const std::string& folder, std::size_t limit);

  // Each returns what went wrong, or an empty text.
  // Removes a file or link that is still as it was, and the folders above that are empty then.
  std::string remove(const std::string& path, const Print& print);
  // Removes a folder with nothing but empty folders in it; leaves everything else.
  void removeEmptyFolders(const std::string& folder);
  // Writes a file with that content and those permissions, or a link to that content; makes the
  // folders above. Replaces an item there only if it is still `before`.
  std::string writeFile(const std::string& path, std::string_view content, std::uint32_t mode,
                        const Presence& before);
  std::string writeLink(const std::string& path, const std::string& target, const Presence& before);

  // Whether a path stays below the folder and outside every git directory, as git's own paths do.
  static bool isSafe(std::string_view path);

 private:
  // The folder of the path, and the last component.
  struct Place {
    int folder = -1;
    std::string name;
    std::string blockedBy;
  };
  Place placeOf(const std::string& path, bool makeFolders = false);
  void removeEmptyParents(std::string path);
  std::string put(const std::string& path, const Presence& before, const std::string& temporary,
                  const Place& place);

  std::string root_;
  int rootFolder_ = -1;
  // The folder of the last place, which is this object's to close.
  int lastFolder_ = -1;
};

}  // namespace kelpie::agent
