#pragma once

#include <cstdint>
#include <vector>

namespace kelpie {

class ArchiveReader;

// Which objects of an archive lie on one circle of references: its strongly connected components
// (Tarjan's algorithm, without recursion). One pass over the archive, 4 bytes an object to keep.
// Immutable once made.
class ArchiveCycles {
 public:
  explicit ArchiveCycles(const ArchiveReader& reader);

  // Whether each of the two objects, where one refers to the other, leads back to the other.
  bool areOnOneCircle(std::uint32_t uid, std::uint32_t other) const;

 private:
  class Search;

  // By number; objects with the same component reach each other.
  std::vector<std::uint32_t> components_;
};

}  // namespace kelpie
