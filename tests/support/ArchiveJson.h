#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Bytes.h"
#include "foundation/Object.h"

namespace kelpie {

// The description of an object in the form of tests/fixtures/keyed-archives (see the README there).
// Entries of dictionaries and members of sets are in an order of their own, so that two
// descriptions compare as the objects do.
nlohmann::json archiveJson(const Object& object);

// A description as it stands in a file, with its dictionaries and sets in that same order.
nlohmann::json sortedArchiveJson(const nlohmann::json& description);

// A file of the fixtures, such as "setBare.bplist"; fails the test when it cannot be read.
Bytes archiveFixture(std::string_view name);
// The description of an archive of the fixtures, such as "setBare".
nlohmann::json archiveFixtureJson(std::string_view name);
// The names of all archives of the fixtures, such as "setBare".
std::vector<std::string> archiveFixtureNames();

}  // namespace kelpie
