#include "cli/link/LinkMessages.h"

#include "cli/text/FilePath.h"

namespace kelpie::cli::link {
namespace {

const Json kNull;

// Lines nest so deep at the most that this may recurse.
std::vector<LinkMenuItem> items(const Json& menu);

LinkMenuItem item(const Json& value) {
  LinkMenuItem item;
  item.title = text(value, "title");
  const Json& action = member(value, "action");
  if (action.is_string()) item.action = action.get<std::string>();
  const Json& tag = member(value, "tag");
  if (tag.is_number_integer()) item.tag = tag.get<std::int64_t>();
  const Json& state = member(value, "state");
  item.isTicked = state.is_number() && state != 0;
  item.isEnabled = member(value, "enabled") == true;
  item.image = text(value, "image");
  const Json& submenu = member(value, "submenu");
  item.hasSubmenu = submenu.is_object();
  if (item.hasSubmenu) item.submenu = items(submenu);
  return item;
}

std::vector<LinkMenuItem> items(const Json& menu) {
  std::vector<LinkMenuItem> list;
  const Json& values = member(menu, "items");
  if (!values.is_array()) return list;
  list.reserve(values.size());
  // Positions count when an item is chosen, so that no element is left out.
  for (const Json& value : values) list.push_back(item(value));
  return list;
}

}  // namespace

const Json& member(const Json& object, std::string_view name) {
  if (!object.is_object()) return kNull;
  const auto found = object.find(name);
  return found == object.end() ? kNull : *found;
}

std::string text(const Json& object, std::string_view name) {
  const Json& value = member(object, name);
  return value.is_string() ? value.get<std::string>() : std::string();
}

std::string type(const Json& message) { return text(message, "type"); }

bool isAbout(const Json& message, std::int64_t id) { return member(message, "id") == id; }

LinkWelcome welcome(const Json& message) {
  LinkWelcome welcome;
  const Json& version = member(message, "version");
  if (version.is_number_integer()) welcome.version = version.get<std::int64_t>();
  welcome.directories = directories(member(message, "directories"));
  return welcome;
}

std::vector<std::string> directories(const Json& urls) {
  std::vector<std::string> paths;
  if (!urls.is_array()) return paths;
  for (const Json& url : urls) {
    if (!url.is_string()) continue;
    if (auto path = FilePath::pathOf(url.get_ref<const std::string&>()))
      paths.push_back(*std::move(path));
  }
  return paths;
}

std::vector<std::pair<std::string, std::string>> badges(const Json& message) {
  std::vector<std::pair<std::string, std::string>> badges;
  const Json& list = member(message, "badges");
  if (!list.is_array()) return badges;
  for (const Json& entry : list) {
    if (!entry.is_array() || entry.size() != 2 || !entry[0].is_string() || !entry[1].is_string())
      continue;
    if (auto path = FilePath::pathOf(entry[0].get_ref<const std::string&>()))
      badges.emplace_back(*std::move(path), entry[1].get<std::string>());
  }
  return badges;
}

std::optional<std::vector<LinkMenuItem>> menu(const Json& message) {
  const Json& menu = member(message, "menu");
  if (!menu.is_object()) return std::nullopt;
  return items(menu);
}

Json hello() { return {{"type", "hello"}, {"host", "kelpie"}, {"version", 1}}; }

Json beginObserving(const std::string& folder) {
  return {{"type", "beginObserving"}, {"url", FilePath::urlOf(folder, true)}};
}

Json endObserving(const std::string& folder) {
  return {{"type", "endObserving"}, {"url", FilePath::urlOf(folder, true)}};
}

Json choose(std::int64_t id, std::int64_t menu, const std::vector<std::size_t>& path) {
  return {{"type", "choose"}, {"id", id}, {"menu", menu}, {"path", path}};
}

}  // namespace kelpie::cli::link
