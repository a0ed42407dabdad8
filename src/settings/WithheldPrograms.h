#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Dictionary.h"

namespace kelpie {

// The repositories of which programs of their own are not run, as the main application leaves it in
// a file of the runtime directory for others to read: the working folder, and what is not run, a
// line each. All bytes.
using WithheldPrograms = std::map<std::string, std::vector<std::string>>;

// The name of the file.
inline constexpr std::string_view kWithheldProgramsFile = "withheld-programs.plist";
// The name of another one of the same form, with the repositories that are not opened and why.
inline constexpr std::string_view kRefusedRepositoriesFile = "refused-repositories.plist";

// Missing or strange parts read as nothing.
WithheldPrograms withheldProgramsOf(const Dictionary& values);
Dictionary withheldProgramsToDictionary(const WithheldPrograms& programs);

}  // namespace kelpie
