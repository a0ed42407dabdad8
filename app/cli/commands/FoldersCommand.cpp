#include "cli/commands/FoldersCommand.h"

#include <cstddef>
#include <ostream>
#include <string_view>
#include <utility>

#include "cli/settings/FolderList.h"
#include "cli/settings/SharedSettings.h"
#include "cli/text/FilePath.h"
#include "cli/text/JsonText.h"

namespace kelpie::cli {
namespace {

// A remark about an entry, beside its path.
std::string_view remarkOn(FolderList::State state) {
  constexpr std::string_view kRemarks[] = {
      "", "  (another folder stands there now)", "  (nothing is there)",
      "(an entry that is no bookmark; the next change of the list drops it)"};
  return kRemarks[static_cast<std::size_t>(state)];
}

}  // namespace

int FoldersCommand::run() { return arguments_.verb() == "list" ? list() : change(); }

int FoldersCommand::list() {
  const auto settings = SharedSettings::read();
  if (!settings) {
    console_.complain(console_.printable(settings.problem()));
    return kFailure;
  }
  OrderedJson json = OrderedJson::array();
  for (const FolderList::Entry& entry : FolderList::read(*settings)) {
    if (arguments_.has("json")) {
      OrderedJson value;
      value["path"] = entry.path;
      value["state"] = FolderList::textOf(entry.state);
      json.push_back(std::move(value));
    } else {
      console_.out() << console_.printable(entry.path) << remarkOn(entry.state) << '\n';
    }
  }
  if (arguments_.has("json")) printJsonText(console_.out(), json);
  return kSuccess;
}

int FoldersCommand::change() {
  const bool adds = arguments_.verb() == "add";
  int status = kSuccess;
  const auto problem = SharedSettings::update([&](SettingsSnapshot& settings) {
    // The extension would pass over all that follows such an entry.
    if (FolderList::dropStrangers(settings) > 0)
      console_.complain("dropped an entry of the list that was no bookmark");
    for (const std::string& operand : arguments_.operands())
      if (!(adds ? add(settings, operand) : remove(settings, operand))) status = kFailure;
    return true;
  });
  if (!problem) return status;
  console_.complain(console_.printable(*problem));
  return kFailure;
}

bool FoldersCommand::add(SettingsSnapshot& settings, const std::string& operand) {
  const FilePath::Place place = FilePath::locate(operand);
  if (!place.isFolder) {
    console_.complain(console_.printable(operand) + ": is no folder");
    return false;
  }
  FolderList::add(settings, place.path);
  return true;
}

bool FoldersCommand::remove(SettingsSnapshot& settings, const std::string& operand) {
  // An entry is named by its own path, even if a link stands there by now; otherwise by the link's
  // target, even if that is gone.
  for (const std::string& path :
       {FilePath::spelled(operand), FilePath::locate(operand).path, FilePath::targetOf(operand)})
    if (FolderList::remove(settings, path)) return true;
  console_.complain(console_.printable(operand) + ": is not in the list; see: kelpie folders list");
  return false;
}

}  // namespace kelpie::cli
