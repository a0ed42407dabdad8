#include "cli/doctor/WithheldChecks.h"

#include <string>
#include <string_view>
#include <utility>

#include "linux/base/RuntimeDirectory.h"
#include "platform/linux/DefaultsFile.h"
#include "settings/WithheldPrograms.h"

namespace kelpie::cli {
namespace {

constexpr std::string_view kTopic = "trust";

}  // namespace

void WithheldChecks::run() {
  const DefaultsFile file(RuntimeDirectory().path() + "/" + std::string(kWithheldProgramsFile));
  for (const auto& [root, programs] : withheldProgramsOf(file.read().values)) {
    std::string text = root + " names programs of its own, which are not run for badges: ";
    for (std::size_t i = 0; i < programs.size(); ++i) text += (i == 0 ? "" : "; ") + programs[i];
    report_.warning(kTopic, std::move(text), "if you trust it: kelpie trust " + root);
  }
}

}  // namespace kelpie::cli
