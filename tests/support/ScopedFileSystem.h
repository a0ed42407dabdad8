#pragma once

#include <memory>
#include <utility>

#include "platform/FileSystem.h"

namespace kelpie {

// The process's file system for the life of this object; the former one comes back after it.
class ScopedFileSystem {
 public:
  explicit ScopedFileSystem(std::shared_ptr<const FileSystem> files)
      : former_(FileSystem::install(std::move(files))) {}
  ~ScopedFileSystem() { FileSystem::install(std::move(former_)); }
  ScopedFileSystem(const ScopedFileSystem&) = delete;
  ScopedFileSystem& operator=(const ScopedFileSystem&) = delete;

 private:
  std::shared_ptr<const FileSystem> former_;
};

}  // namespace kelpie
