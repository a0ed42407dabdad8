#pragma once

#include <string>

namespace kelpie {

// Where a folder of very many files is made: in memory where there is such a file system. Making a
// million files on a disk takes many times as long as all that is measured, and what is read of
// them later is cached either way.
std::string roomyFolder();

// Makes an empty file in a folder that is there, and looks at nothing else: of files by the million
// (TemporaryFolder makes the folders above as well).
void touch(const std::string& path);

}  // namespace kelpie
