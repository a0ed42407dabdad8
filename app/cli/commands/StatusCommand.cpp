#include "cli/commands/StatusCommand.h"

#include <filesystem>
#include <ostream>
#include <utility>

#include "cli/output/BadgeLook.h"
#include "cli/text/FilePath.h"
#include "cli/text/JsonText.h"

namespace kelpie::cli {

int StatusCommand::run() {
  const auto session = ExtensionSession::openOrComplain(context_);
  if (!session) return kFailure;
  std::vector<std::string> operands = arguments_.operands();
  if (operands.empty()) operands.emplace_back(".");
  std::vector<Section> sections;
  BadgeCollector badges(*session);
  for (const std::string& operand : operands) {
    if (auto section = sectionOf(operand, *session)) {
      want(*section, badges);
      sections.push_back(*std::move(section));
    }
  }
  int status = sections.size() == operands.size() ? kSuccess : kFailure;
  if (!sections.empty() && !badges.settle(arguments_.wait())) {
    console_.complain("the extension has ended; some badges may be missing");
    status = kFailure;
  } else if (badges.isWithoutAnswer()) {
    console_.complain(
        "no badge came: nothing there lies in a working copy, or the main application does not "
        "run; see: kelpie doctor");
  }
  if (arguments_.has("json")) {
    printJson(sections, badges);
  } else {
    print(sections, badges);
  }
  return status;
}

std::optional<StatusCommand::Section> StatusCommand::sectionOf(const std::string& operand,
                                                               const ExtensionSession& session) {
  const auto refuse = [&](std::string_view why) {
    console_.complain(console_.printable(operand) + ": " + std::string(why));
    return std::nullopt;
  };
  const FilePath::Place place = FilePath::locate(operand);
  if (!place.exists) return refuse("nothing is there");
  if (!session.isObserved(place.path))
    return refuse("lies in no observed folder; see: kelpie folders");
  Section section = {{place.path, place.isFolder}, {}};
  if (!place.isFolder) return section;
  const auto names = FilePath::namesIn(place.path);
  if (!names) return refuse("the folder cannot be read");
  for (const std::string& name : *names) {
    const std::string path = FilePath::join(place.path, name);
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(path, ignored).type();
    section.contents.push_back({path, type == std::filesystem::file_type::directory});
  }
  return section;
}

void StatusCommand::want(const Section& section, BadgeCollector& badges) const {
  const Item& item = section.item;
  badges.showFolder(item.isFolder ? item.path : FilePath::parentOf(item.path));
  badges.want(item.path, item.isFolder);
  for (const Item& inner : section.contents) badges.want(inner.path, inner.isFolder);
}

std::string StatusCommand::lineOf(const std::string& badge, const std::string& name,
                                  bool isFolder) const {
  std::string shown = console_.printable(name);
  if (isFolder && !shown.ends_with('/')) shown += '/';
  if (!isBadge(badge)) shown = console_.paint(Colour::Dim, shown);
  return badgeText(console_, badge, widestLabel()) + "  " + shown + '\n';
}

void StatusCommand::print(const std::vector<Section>& sections, const BadgeCollector& badges) {
  std::ostream& out = console_.out();
  const auto badgeOf = [&](const Item& item) { return badges.badge(item.path).value_or(""); };
  bool wasFolder = false;
  for (const Section& section : sections) {
    // A folder's contents stand apart from what comes before and after.
    if (&section != &sections.front() && (wasFolder || section.item.isFolder)) out << '\n';
    wasFolder = section.item.isFolder;
    out << lineOf(badgeOf(section.item), section.item.path, section.item.isFolder);
    for (const Item& item : section.contents) {
      const std::string name = item.path.substr(item.path.rfind('/') + 1);
      out << "  " << lineOf(badgeOf(item), name, item.isFolder);
    }
  }
}

void StatusCommand::printJson(const std::vector<Section>& sections, const BadgeCollector& badges) {
  OrderedJson list = OrderedJson::array();
  const auto entryOf = [&](const Item& item) {
    const auto badge = badges.badge(item.path);
    OrderedJson entry;
    entry["path"] = item.path;
    entry["url"] = FilePath::urlOf(item.path, item.isFolder);
    entry["folder"] = item.isFolder;
    entry["badge"] = badge && isBadge(*badge) ? OrderedJson(*badge) : OrderedJson();
    entry["label"] = badgeLook(badge.value_or("")).label;
    return entry;
  };
  for (const Section& section : sections) {
    OrderedJson entry = entryOf(section.item);
    if (section.item.isFolder) {
      entry["items"] = OrderedJson::array();
      for (const Item& item : section.contents) entry["items"].push_back(entryOf(item));
    }
    list.push_back(std::move(entry));
  }
  printJsonText(console_.out(), list);
}

}  // namespace kelpie::cli
