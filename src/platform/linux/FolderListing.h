#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileIdentifier.h"

namespace kelpie {

// The immediate contents of one folder, read at once, hidden items included, in the file system's
// order. Compact: folders of a million items occur.
class FolderListing {
 public:
  // Where the identifiers of the items come from.
  enum class Identity {
    None,    // nobody asks for them
    Listed,  // from the listing itself, where the file system vouches for what it lists
    Looked,  // from a look at each item
  };

  struct Item {
    std::string_view name;  // bytes, borrowed from the listing
    bool isDirectory = false;
    std::optional<FileIdentifier> identifier;  // absent when the item is gone, or with None
  };

  // Reads the folder at `path`, which must be absolute; a link at its end is followed with
  // `followLink` only. 0, or the system's error number; the listing is empty then. Where the system
  // is short of descriptors or memory this waits for them, for a second at most.
  int read(const std::string& path, bool followLink, Identity identity);

  std::size_t size() const { return entries_.size(); }
  Item item(std::size_t index) const;

 private:
  struct Entry {
    std::size_t nameStart;
    std::uint64_t device;
    std::uint64_t inode;
    std::uint32_t nameLength;
    bool isDirectory;
    bool identified;
  };

  int readOnce(const std::string& path, bool followLink, Identity identity);
  int readEntries(int folder, Identity identity);
  void add(int folder, std::string_view name, unsigned char type, ino_t inode, bool look);

  std::string names_;
  std::vector<Entry> entries_;
  dev_t device_ = 0;  // of the folder
  bool identifies_ = false;
};

}  // namespace kelpie
