#include "agent/WithheldNotices.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "foundation/PrintableText.h"

namespace kelpie::agent {
namespace {

// Further repositories are left to the log and to `kelpie doctor`.
constexpr std::size_t kMostNotified = 20;
constexpr std::size_t kMostKept = 1000;

}  // namespace

WithheldNotices::WithheldNotices(DefaultsFile file, Log& log, Notifier& notifier)
    : file_(std::move(file)), log_(log), notifier_(notifier) {
  std::error_code ignored;
  std::filesystem::remove(file_.path(), ignored);
}

void WithheldNotices::changed(const std::string& root, const std::vector<std::string>& programs) {
  thread_.check();
  if (programs.empty()) {
    if (withheld_.erase(root) == 0) return;
  } else {
    if (withheld_.size() >= kMostKept && !withheld_.contains(root)) return;
    withheld_.insert_or_assign(root, programs);
    notify(root, programs);
  }
  const std::optional<std::string> problem = file_.update([this](Dictionary& values) {
    values = withheldProgramsToDictionary(withheld_);
    return true;
  });
  if (problem) log_.write(*problem);
}

void WithheldNotices::notify(const std::string& root, const std::vector<std::string>& programs) {
  std::string text =
      printableText(root) + ": its own configuration names programs, which are not run for badges";
  for (const std::string& program : programs)
    log_.write(std::string(text).append(": ").append(program));
  if (notified_.size() >= kMostNotified || !notified_.insert(root).second) return;
  text += ":";
  for (const std::string& program : programs) text.append("\n").append(printableText(program));
  text +=
      "\nFiles that they filter may have no badge. If you trust this repository: kelpie trust " +
      printableText(root);
  notifier_.notify("Programs of a repository are not run", text);
}

}  // namespace kelpie::agent
