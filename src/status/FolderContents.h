#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/FunctionRef.h"
#include "foundation/URL.h"
#include "platform/FileSystem.h"
#include "status/IgnoredUrls.h"
#include "status/StatusTable.h"

namespace kelpie {

// The files below the folders that one piece of work asks about. No folder is walked twice: the
// walk of one keeps apart what lies in the others that are to be asked about, so that these need no
// walk of their own, and leaves out those that were walked before. One thread at a time.
class FolderContents {
 public:
  // A file, small: a tree has millions.
  class File {
   public:
    bool hasIdentifier() const { return size_ != kNone; }

   private:
    friend class FolderContents;
    static constexpr std::uint8_t kNone = 0xFE;
    static constexpr std::uint8_t kLong = 0xFF;

    std::array<std::uint8_t, FileIdentifier::kInlineSize> bytes_{};  // or an index, for kLong
    std::uint8_t size_ = kNone;
  };

  // Both outlive this. `ignored` are the items whose contents are left out.
  FolderContents(const FileSystem& files, const IgnoredUrls& ignored)
      : files_(files), ignored_(ignored) {}
  FolderContents(const FolderContents&) = delete;
  FolderContents& operator=(const FolderContents&) = delete;

  // That folder will be asked about. Not saying so costs it a walk of its own.
  void announce(std::string_view path);

  // The number of files below the folder, in ignored folders below it excepted; absent when the
  // walk met an error.
  std::optional<std::size_t> count(const URL& folder);
  // Hands those files to `visit`, some at a time. Nothing when the walk met an error.
  void forEachPart(const URL& folder, FunctionRef<void(std::span<const File> files)> visit);

  // The file's key in a status table; it must have an identifier. Borrowed from both.
  StatusTable::Key keyOf(const File& file) const;

 private:
  enum class State { NotWalked, Walked, Failed };
  // A folder that is to be asked about.
  struct Folder {
    State state = State::NotWalked;
    std::vector<File> files;           // those that lie in none of `inner`
    std::vector<const Folder*> inner;  // the nearest below it that are to be asked about as well
  };
  struct PathHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view path) const {
      return std::hash<std::string_view>()(path);
    }
  };
  class Walk;

  const Folder& walked(const URL& folder);
  File fileOf(const std::optional<FileIdentifier>& identifier);

  const FileSystem& files_;
  const IgnoredUrls& ignored_;
  std::unordered_map<std::string, Folder, PathHash, std::equal_to<>> folders_;  // by path
  std::vector<FileIdentifier> longIdentifiers_;  // those that do not fit into a File
};

}  // namespace kelpie
