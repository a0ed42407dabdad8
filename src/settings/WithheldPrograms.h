#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Dictionary.h"

namespace kelpie {

// The repositories whose own programs are not run, as the main application writes them to a file of
// the runtime directory for others to read: the working folder, and each program on a line of its
// own. All bytes.
using WithheldPrograms = std::map<std::string, std::vector<std::string>>;

// The name of the file.
inline constexpr std::string_view kWithheldProgramsFile = "withheld-programs.plist";
// The name of another file of the same form, with the repositories that are not opened, and the
// reasons.
inline constexpr std::string_view kRefusedRepositoriesFile = "refused-repositories.plist";

// Absent or malformed parts read as nothing.
WithheldPrograms withheldProgramsOf(const Dictionary& values);
Dictionary withheldProgramsToDictionary(const WithheldPrograms& programs);

}  // namespace kelpie
