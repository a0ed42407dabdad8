#include "cli/commands/StatusCommand.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include "cli/output/BadgeLook.h"
#include "cli/text/FilePath.h"
#include "cli/text/JsonText.h"

namespace kelpie::cli {

namespace {

OrderedJson jsonOf(const AgentClient::WorkingCopy& copy) {
  OrderedJson entry;
  entry["root"] = copy.root;
  entry["branch"] = copy.isDetached ? OrderedJson() : OrderedJson(copy.branch);
  entry["commit"] = copy.commit;
  entry["upstream"] = copy.upstream.empty() ? OrderedJson() : OrderedJson(copy.upstream);
  entry["ahead"] = copy.distance ? OrderedJson(copy.distance->first) : OrderedJson();
  entry["behind"] = copy.distance ? OrderedJson(copy.distance->second) : OrderedJson();
  entry["operation"] = copy.operation.empty() ? OrderedJson() : OrderedJson(copy.operation);
  return entry;
}

}  // namespace

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
  bool isServed = sections.empty() || badges.settle(arguments_.wait());
  if (isServed && addKnowledge(sections, badges)) isServed = badges.settle(arguments_.wait());
  if (!isServed) {
    console_.complain("the extension has ended; some badges may be missing");
    status = kFailure;
  } else if (badges.isWithoutAnswer()) {
    console_.complain(
        "no badge came: nothing there lies in a working copy, or the main application does not "
        "run; see: kelpie doctor");
  }
  if (isIncomplete_) status = kFailure;
  if (arguments_.has("json"))
    printJson(sections, badges);
  else
    print(sections, badges);
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
  if (!place.isFolder || arguments_.has("changed")) return section;
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
  for (const Item& inner : section.contents) badges.want(inner.knownAs(), inner.isFolder);
}

bool StatusCommand::addKnowledge(std::vector<Section>& sections, BadgeCollector& badges) {
  if (sections.empty()) return false;
  const auto agent = AgentClient::connect();
  if (!agent) {
    if (!arguments_.has("changed")) return false;
    console_.complain(console_.printable(agent.problem()));
    isIncomplete_ = true;
    return false;
  }
  bool isMore = false;
  // Files of one folder lie in one working copy.
  std::map<std::string, std::shared_ptr<const AgentClient::WorkingCopy>> known;
  for (Section& section : sections) {
    const Item& item = section.item;
    const std::string folder = item.isFolder ? item.path : FilePath::parentOf(item.path);
    const auto [found, isNew] = known.try_emplace(folder);
    if (isNew)
      if (auto copy = agent->workingCopy(folder))
        found->second = std::make_shared<const AgentClient::WorkingCopy>(*std::move(copy));
    section.workingCopy = found->second;
    if (!item.isFolder || !section.workingCopy) continue;
    const std::size_t before = section.contents.size();
    addChanges(section);
    if (section.contents.size() == before) continue;
    isMore = true;
    want(section, badges);
  }
  return isMore;
}

// Deleted items are the only ones in a folder that the disk does not tell.
void StatusCommand::addChanges(Section& section) const {
  const bool all = arguments_.has("changed");
  for (const AgentClient::WorkingCopy::Change& change : section.workingCopy->changes) {
    const std::string path = FilePath::join(section.workingCopy->root, change.path);
    if (path == section.item.path || !FilePath::isWithin(path, section.item.path)) continue;
    if (!all && (!change.isDeleted || FilePath::parentOf(path) != section.item.path)) continue;
    const bool isThere = change.isDeleted && FilePath::locate(path).exists;
    // Something else stands in its place, which is listed already.
    if (isThere && !all) continue;
    section.contents.push_back({path, false, change.isDeleted && !isThere});
  }
  std::ranges::sort(section.contents, {}, &Item::path);
}

std::string StatusCommand::headOf(const AgentClient::WorkingCopy& copy) const {
  std::string text = copy.isDetached ? "No branch, at " + copy.commit : "Branch " + copy.branch;
  if (!copy.isDetached && copy.commit.empty()) text += ", no commit yet";
  if (copy.distance) {
    const auto [ahead, behind] = *copy.distance;
    if (ahead > 0) text += ", " + std::to_string(ahead) + " ahead of " + copy.upstream;
    if (behind > 0) text += ", " + std::to_string(behind) + " behind " + copy.upstream;
    if (ahead == 0 && behind == 0) text += ", even with " + copy.upstream;
  }
  if (!copy.operation.empty()) text += "; " + copy.operation + " under way";
  return console_.paint(Colour::Bold, console_.printable(text)) + '\n';
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
  const auto badgeOf = [&](const Item& item) { return badges.badge(item.knownAs()).value_or(""); };
  const bool all = arguments_.has("changed");
  std::string root;
  bool wasFolder = false;
  for (const Section& section : sections) {
    // A folder's contents stand apart from what comes before and after.
    if (&section != &sections.front() && (wasFolder || section.item.isFolder)) out << '\n';
    wasFolder = section.item.isFolder;
    if (section.workingCopy &&
        std::exchange(root, section.workingCopy->root) != section.workingCopy->root)
      out << headOf(*section.workingCopy);
    out << lineOf(badgeOf(section.item), section.item.path, section.item.isFolder);
    for (const Item& item : section.contents) {
      const std::size_t above = all ? section.item.path.size() : item.path.rfind('/');
      const std::string name = item.path.substr(item.path.find_first_not_of('/', above));
      out << "  " << lineOf(badgeOf(item), name, item.isFolder);
    }
  }
}

void StatusCommand::printJson(const std::vector<Section>& sections, const BadgeCollector& badges) {
  OrderedJson list = OrderedJson::array();
  const auto entryOf = [&](const Item& item) {
    const auto badge = badges.badge(item.knownAs());
    OrderedJson entry;
    entry["path"] = item.path;
    entry["url"] = FilePath::urlOf(item.path, item.isFolder);
    entry["folder"] = item.isFolder;
    entry["deleted"] = item.isDeleted;
    entry["badge"] = badge && isBadge(*badge) ? OrderedJson(*badge) : OrderedJson();
    entry["label"] = badgeLook(badge.value_or("")).label;
    return entry;
  };
  for (const Section& section : sections) {
    OrderedJson entry = entryOf(section.item);
    entry["workingCopy"] = section.workingCopy ? jsonOf(*section.workingCopy) : OrderedJson();
    if (section.item.isFolder) {
      entry["items"] = OrderedJson::array();
      for (const Item& item : section.contents) entry["items"].push_back(entryOf(item));
    }
    list.push_back(std::move(entry));
  }
  printJsonText(console_.out(), list);
}

}  // namespace kelpie::cli
