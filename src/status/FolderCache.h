#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "platform/FileSystem.h"

namespace kelpie {

// A cache of the folders above the items of one piece of work. Each folder is looked at once, when
// it is first asked about, however many items lie below it and however often ancestry is asked.
// Takes memory in proportion to the paths that it is given. One thread at a time.
class FolderCache {
 public:
  // One folder, by its path. It may not exist, or not be a folder: see valuesOf().
  class Folder {
   public:
    // The folder that holds it; null for the root.
    const Folder* parent() const { return parent_; }
    std::string path() const;
    std::size_t pathLength() const { return pathLength_; }

   private:
    friend class FolderCache;
    explicit Folder(const Folder* parent, std::size_t pathLength)
        : parent_(parent), pathLength_(pathLength) {}

    const Folder* parent_;
    std::size_t pathLength_;
    std::string_view name_;  // borrowed from the key in folders_
    mutable std::optional<ResourceValues> look_;
  };

  // Asks `files`, which outlives this.
  explicit FolderCache(const FileSystem& files) : files_(files) {}
  FolderCache(const FolderCache&) = delete;
  FolderCache& operator=(const FolderCache&) = delete;

  const FileSystem& files() const { return files_; }

  // The folder that holds the item. Where that does not exist, perhaps a folder further up that has
  // all existing ones above it. Null for the root and for anything but a file URL. Valid while this
  // lives.
  const Folder* parentOf(const URL& url);
  // The same for the file URL of an absolute path.
  const Folder* parentOfPath(std::string_view path);
  // The item itself as a folder. Null for a path that is not absolute, and perhaps for one where
  // nothing exists.
  const Folder* folderAt(std::string_view path);

  // What was seen of the item already, as a folder; null when nothing was.
  const ResourceValues* seenAt(std::string_view path);

  // What is seen of the folder, by one look. For a path that is longer than any system takes it
  // shows nothing there. Valid while this lives.
  const ResourceValues& valuesOf(const Folder& folder);
  // The caller has just looked at the folder and saw `values`.
  void remember(const Folder& folder, const ResourceValues& values);
  const std::optional<FileIdentifier>& identifierOf(const Folder& folder) {
    return valuesOf(folder).identifier;
  }

 private:
  // A message may hold paths of any length, and looking at all folders on the way takes time in
  // proportion to the square of that length.
  static constexpr std::size_t kMaximumPath = 4096;

  // A message may name folders that do not exist, a new one in every two bytes. Down to this level
  // folders are added as a path names them; below it only inside folders that exist.
  static constexpr int kLevelsTaken = 6;

  struct Way {
    const Folder* folder = nullptr;
    bool isWhole = false;  // it leads to the folder that was asked for
  };
  // Goes towards the folder as far as is worthwhile.
  Way wayTo(std::string_view path);

  struct Step {
    const Folder* parent;
    std::string name;
  };
  struct StepView {
    const Folder* parent;
    std::string_view name;
  };
  struct StepHash {
    using is_transparent = void;
    std::size_t operator()(const StepView& step) const;
    std::size_t operator()(const Step& step) const {
      return (*this)(StepView{step.parent, step.name});
    }
  };
  struct StepEqual {
    using is_transparent = void;
    template <class A, class B>
    bool operator()(const A& a, const B& b) const {
      return a.parent == b.parent && a.name == b.name;
    }
  };

  const FileSystem& files_;
  Folder root_{nullptr, 0};
  // By a folder and a name in it. With paths as keys a path of n folders would take n paths.
  std::unordered_map<Step, Folder, StepHash, StepEqual> folders_;
  std::string lastPath_;  // items come folder by folder
  Way last_;              // to lastPath_
};

}  // namespace kelpie
