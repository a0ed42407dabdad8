#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "foundation/URL.h"
#include "platform/FileSystem.h"

namespace kelpie {

// A file system and a folder in it that the test may change. Names are relative to the folder.
class FileSystemWorld {
 public:
  virtual ~FileSystemWorld() = default;
  virtual const FileSystem& files() const = 0;
  // The absolute path.
  virtual std::string path(std::string_view name) const = 0;
  virtual void addFile(std::string_view name) = 0;
  virtual void addFolder(std::string_view name) = 0;
  virtual void addLink(std::string_view name, std::string_view target) = 0;
  virtual void move(std::string_view from, std::string_view to) = 0;
  virtual void remove(std::string_view name) = 0;
};

class FileSystemContract : public testing::TestWithParam<std::unique_ptr<FileSystemWorld> (*)()> {
 protected:
  URL url(std::string_view name) const { return URL::fileURLWithPath(world->path(name)); }
  ResourceValues look(std::string_view name) const { return files.resourceValues(url(name)); }

  const std::unique_ptr<FileSystemWorld> world = GetParam()();
  const FileSystem& files = world->files();
};

}  // namespace kelpie
