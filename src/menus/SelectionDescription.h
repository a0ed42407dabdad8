#pragma once

#include <vector>

#include "foundation/URL.h"
#include "menus/Selection.h"

namespace kelpie {

class FileSystem;
class KPRepository;

// Sorts the targets of a menu into the lists of a selection, by what the repository knows of each.
// Each target is looked up once. Without a repository (null) all lists are empty.
Selection describeSelection(const std::vector<URL>& targets, const KPRepository* repository,
                            const FileSystem& files);

}  // namespace kelpie
