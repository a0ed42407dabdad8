#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"

namespace kelpie {

// A keyed archive as the graph of its objects, for a fuzzer to change: what it writes is a sound
// archive again, whatever it says. One thread.
class ArchiveGraph {
 public:
  using Random = std::minstd_rand;
  // Changes the bytes of a text or of data in place, and gives their new number, at most `room`.
  using MutateBytes = std::size_t (*)(std::uint8_t* bytes, std::size_t size, std::size_t room);

  // Absent for anything but a sound binary property list of a moderate number of objects.
  static std::optional<ArchiveGraph> read(ByteView bytes);
  Bytes write() const;

  // One change: an element is repeated many times, a reference leads elsewhere (upwards as well,
  // so that there are circles), two places share an object, a text or data grows or is replaced by
  // one of `words`, an archive is put inside. The graph grows by about `room` bytes at most.
  void mutate(Random& random, std::size_t room, const std::vector<std::string_view>& words,
              MutateBytes mutateBytes);
  // Takes over all objects of the other archive; one place refers to one of them.
  void graft(const ArchiveGraph& other, Random& random);

 private:
  struct Node {
    enum class Kind { Plain, Text, Data, Reference, Array, Dictionary };
    Kind kind = Kind::Plain;
    Bytes bytes;                      // of the whole object if it is plain; of a text or data
    std::uint32_t uid = 0;            // of a reference: an index of $objects
    std::vector<std::uint32_t> uses;  // of an array: elements; of a dictionary: keys, then values
  };
  class Reader;

  // A node of one of the kinds; null when there is none.
  Node* any(Random& random, Node::Kind kind, Node::Kind other);
  // The array of the archive's objects; null in what is no archive.
  Node* objects();
  std::uint32_t anyNumber(Random& random) const;

  void repeat(Random& random, std::size_t room);
  void redirect(Random& random);
  void referElsewhere(Random& random);
  void lengthen(Random& random, std::size_t room);
  void putArchiveInside(Random& random, std::size_t room);

  std::vector<Node> nodes_;
  std::uint32_t top_ = 0;
};

}  // namespace kelpie
