#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Bytes.h"
#include "support/RawPropertyList.h"

namespace kelpie {

// Puts together messages of the main application that repeat little very often: for an operation,
// or for one key of a status.
class HostileMessage {
 public:
  using Number = RawPropertyList::Number;

  // For the repository with that identifier. References take `width` bytes: two are enough for
  // 60,000 objects.
  HostileMessage(std::string_view selector, Bytes target, std::size_t width = 2);

  // The elements of an array or set that is the same object `count` times, in as many references.
  Number repeated(std::uint32_t uid, std::size_t count);
  std::uint32_t array(Number elements);
  std::uint32_t set(Number elements);
  std::uint32_t dictionary(Number keys, Number values);
  std::uint32_t dictionary(std::string_view key, std::uint32_t value);
  std::uint32_t url(std::string_view text) { return archive.addUrl(0, text); }
  std::uint32_t data(const Bytes& bytes) { return archive.add(archive.list.data(bytes)); }
  std::uint32_t object(const std::vector<std::string>& classNames,
                       std::vector<std::pair<std::string, Number>> fields);

  // The message with that argument.
  Bytes finish(std::uint32_t argument);

  RawArchive archive;

 private:
  std::string selector_;
  Bytes target_;
};

// One way to say little very often.
struct HostileCase {
  std::string_view name;
  // For a repository and the folders that are shown, by their identifiers: a message of somewhat
  // more than `size` bytes.
  Bytes (*make)(std::size_t size, const Bytes& target, const std::vector<Bytes>& folders);
};

// One for each operation that a message can name and that reads more than a number of it.
const std::vector<HostileCase>& hostileCases();

}  // namespace kelpie
