#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// Which parts have to be read anew after a change.
struct Change {
  bool status = false;
  bool references = false;
  // Names in the working folder have come or gone: an extension's own conclusions about them may be
  // wrong, even if the status is the same as before.
  bool names = false;
  // Another working copy or git directory, or none, may be at the place now.
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
// copy. Files that git writes all the time and that affect nothing here, such as its locks, mean
// nothing.
Change changeOf(const WorkingCopy& workingCopy, std::string_view folder, std::string_view name);

// The path of that entry, relative to the root, when a change of it can change the status of
// nothing but the entry and what lies below it. Empty when anything may have another status: after
// a change of a rule file, or of git's own files.
std::string placeOf(const WorkingCopy& workingCopy, std::string_view folder, std::string_view name);

// Whether `path` is `folder` or lies below it.
bool isWithin(std::string_view path, std::string_view folder);

}  // namespace kelpie::agent
