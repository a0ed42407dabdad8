#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelpie::architecture {

// A source file as the rules see it.
struct SourceFile {
  std::string path;  // from the root of the project, with "/", such as "src/refs/KPRemote.h"
  std::string text;
};

// What is wrong with the table of the layers itself, one line each; empty when all is well.
std::vector<std::string> layerTableViolations();

// What is wrong with the includes of `file`, one line each, "path:line: reason"; empty when all
// is well. Judged are the folders src/, app/ and filemanagers/; of any other folder nothing is
// said. The rules are the rows of cmake/layers.txt.
std::vector<std::string> includeViolations(const SourceFile& file);

// Every C++ and Objective-C++ file below src/, app/ and filemanagers/ of the project at `root`,
// in order of the path. Fails the calling test when one cannot be read.
std::vector<SourceFile> projectSources(const std::filesystem::path& root);

}  // namespace kelpie::architecture
