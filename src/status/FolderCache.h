#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "foundation/FileIdentifier.h"
#include "foundation/URL.h"
#include "platform/FileSystem.h"

namespace kelpie {

// What one piece of work has seen of the folders above the items that it is about: each is looked
// at once, when it is first asked about, however many items lie below it and however often ancestry
// is asked. Takes memory in proportion to the paths that it is given. One thread at a time.
class FolderCache {
 public:
  // One folder, by its path. Whether it exists and is a folder is a question of its own.
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

  // The folder that holds the item, or where that is not there perhaps one further up, above which
  // are all that are there; null for the root and for what is no file URL. Valid while this lives.
  const Folder* parentOf(const URL& url);
  // The same for the file URL of an absolute path.
  const Folder* parentOfPath(std::string_view path);
  // The item itself, taken for a folder. Null for what is no absolute path, and perhaps for what is
  // not there.
  const Folder* folderAt(std::string_view path);

  // What has been seen of the item already, as a folder; null for nothing.
  const ResourceValues* seenAt(std::string_view path);

  // The look at the folder. Nothing is there when the path is longer than any that a system takes.
  // Valid while this lives.
  const ResourceValues& valuesOf(const Folder& folder);
  // Somebody else has just looked at the folder, and saw this.
  void remember(const Folder& folder, const ResourceValues& values);
  const std::optional<FileIdentifier>& identifierOf(const Folder& folder) {
    return valuesOf(folder).identifier;
  }

 private:
  // A message may hold paths of any length, and looking at all the folders on the way takes time in
  // proportion to the square of it.
  static constexpr std::size_t kMaximumPath = 4096;

  // A message may name folders that are nowhere, a new one in every two bytes. So far down a path
  // is taken as it is; from there on a folder is taken in only where the one that holds it is
  // there.
  static constexpr int kLevelsTaken = 6;

  struct Way {
    const Folder* folder = nullptr;
    bool isWhole = false;  // it leads to where it was to lead
  };
  // As far towards the folder as it is worth going.
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
  // From a folder and a name in it. Not by path: a path of n folders would then take n paths.
  std::unordered_map<Step, Folder, StepHash, StepEqual> folders_;
  std::string lastPath_;  // items come folder by folder
  Way last_;              // to lastPath_
};

}  // namespace kelpie
