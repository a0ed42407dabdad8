#pragma once

#include <string>
#include <string_view>

namespace kelpie {

// An empty folder of the real file system, 0700, that goes with all it holds when this does. Its
// path is without links and short enough for the address of a socket.
class TemporaryFolder {
 public:
  // `parent` exists.
  explicit TemporaryFolder(const std::string& parent = "/tmp");
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  // The path of something in it.
  std::string operator/(std::string_view name) const;

  // Each makes the folders above as well and returns the absolute path. `name` is relative.
  std::string addFolder(std::string_view name) const;
  std::string addFile(std::string_view name, std::string_view contents = "") const;
  std::string addLink(std::string_view name, std::string_view target) const;

 private:
  std::string path_;
};

}  // namespace kelpie
