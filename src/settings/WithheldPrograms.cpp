#include "settings/WithheldPrograms.h"

#include <optional>
#include <utility>

#include "foundation/Object.h"

namespace kelpie {
namespace {

constexpr std::string_view kRepositories = "repositories";
constexpr std::string_view kPath = "path";
constexpr std::string_view kPrograms = "programs";

Objects elementsOf(const Object& list) { return list.isArray() ? list.elements() : Objects(); }

}  // namespace

WithheldPrograms withheldProgramsOf(const Dictionary& values) {
  WithheldPrograms all;
  for (const Object& element : elementsOf(values[kRepositories])) {
    const std::optional<std::string> path = element[kPath].pathBytes();
    if (!path) continue;
    for (const Object& program : elementsOf(element[kPrograms]))
      if (std::optional<std::string> text = program.pathBytes())
        all[*path].push_back(*std::move(text));
  }
  return all;
}

Dictionary withheldProgramsToDictionary(const WithheldPrograms& programs) {
  Objects repositories;
  for (const auto& [path, lines] : programs) {
    Objects texts;
    for (const std::string& line : lines) texts.push_back(Object::path(line));
    repositories.emplace_back(Dictionary{{kPath, Object::path(path)}, {kPrograms, texts}});
  }
  return Dictionary{{kRepositories, repositories}};
}

}  // namespace kelpie
