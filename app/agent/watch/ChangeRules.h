#pragma once

#include <cstdint>
#include <string_view>

#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// What has to be read anew after a change.
struct Change {
  bool status = false;
  bool references = false;
  // Names in the working folder have come or gone: what an extension keeps of them by itself may be
  // wrong, even where the status is the same as before.
  bool names = false;
  // What is at the place of the working copy, or of its git directory, may be another one, or none.
  bool place = false;

  bool any() const { return status || references || names || place; }
  Change& operator|=(const Change& other) {
    status |= other.status;
    references |= other.references;
    names |= other.names;
    place |= other.place;
    return *this;
  }
  friend bool operator==(const Change&, const Change&) = default;
};

// What a change of the entry `name` in `folder` (absolute, a watched folder) means for the working
// copy. What git itself writes all the time and nobody reads, such as its locks, means nothing.
Change changeOf(const WorkingCopy& workingCopy, std::string_view folder, std::string_view name);

// Whether `path` is `folder` or lies below it.
bool isWithin(std::string_view path, std::string_view folder);

}  // namespace kelpie::agent
