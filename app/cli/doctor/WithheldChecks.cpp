#include "cli/doctor/WithheldChecks.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "linux/base/RuntimeDirectory.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/WithheldPrograms.h"

namespace kelpie::cli {
namespace {

constexpr std::string_view kTopic = "trust";

// The entries that the main application has left in the file of that name.
WithheldPrograms contentOf(std::string_view name) {
  const DefaultsFile file(RuntimeDirectory().path() + "/" + std::string(name));
  return withheldProgramsOf(file.read().values);
}

}  // namespace

void WithheldChecks::run() {
  for (const auto& [root, programs] : contentOf(kWithheldProgramsFile)) {
    std::string text = root + " names programs of its own, which are not run for badges: ";
    for (std::size_t i = 0; i < programs.size(); ++i) text += (i == 0 ? "" : "; ") + programs[i];
    report_.warning(kTopic, std::move(text), "if you trust it: kelpie trust " + root);
  }
  for (const auto& [folder, reasons] : contentOf(kRefusedRepositoriesFile))
    report_.warning(kTopic, folder + " is not opened: " + reasons.front(), "");
}

}  // namespace kelpie::cli
