#include "linux/hostlink/HostLinkMessages.h"

#include <array>
#include <utility>

namespace kelpie::hostlink {
namespace {

using nlohmann::json;

// Every image that a menu can bear, by the name that it has in an item.
constexpr std::array kMenuImages = {"ApplicationIcon", "BranchImage", "TagImage"};

json textsOf(const std::vector<URL>& urls) {
  json texts = json::array();
  for (const URL& url : urls) texts.push_back(url.absoluteString());
  return texts;
}

json menuValue(const Menu& menu);

json itemValue(const MenuItem& item) {
  return {{"title", item.title},
          {"action", item.action ? json(*item.action) : json()},
          {"tag", item.tag},
          {"state", item.state},
          {"enabled", item.enabled},
          {"image", item.image ? json(item.image->name) : json()},
          {"submenu", item.submenu ? menuValue(*item.submenu) : json()}};
}

// Menus nest as deep as reference names do, which the references bound.
json menuValue(const Menu& menu) {
  json items = json::array();
  for (const MenuItem& item : menu.items) items.push_back(itemValue(item));
  return {{"title", menu.title}, {"items", std::move(items)}};
}

}  // namespace

std::optional<json> parse(std::string_view line) {
  bool tooDeep = false;
  // Answering false drops the value, so that a line of brackets costs no memory.
  const auto keep = [&tooDeep](int depth, json::parse_event_t event, json&) {
    const bool opens =
        event == json::parse_event_t::object_start || event == json::parse_event_t::array_start;
    if (opens && depth >= kMaximumNesting) tooDeep = true;
    return !tooDeep;
  };
  json parsed = json::parse(line, keep, /*allow_exceptions=*/false);
  if (tooDeep || !parsed.is_object()) return std::nullopt;
  return parsed;
}

std::optional<URL> fileURL(const json& value) {
  if (!value.is_string()) return std::nullopt;
  auto url = URL::fromString(value.get_ref<const std::string&>());
  if (!url || !url->isFileURL()) return std::nullopt;
  const std::string host = url->host();
  if (!host.empty() && host != "localhost") return std::nullopt;
  // A path that is not absolute, or holds a zero byte, names no file.
  const std::string& path = url->path();
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  return url;
}

json welcome(const HostedExtension& extension, const LinuxFinderSyncController& finder,
             const ImageFile& imageFile) {
  json badges = json::object();
  for (const auto& [identifier, badge] : finder.badges()) {
    badges[identifier] = {{"image", imageFile(badge.image)}, {"label", badge.label}};
  }
  json images = json::object();
  for (const char* name : kMenuImages) images[name] = imageFile(Image{name});
  return {{"type", "welcome"},
          {"version", kVersion},
          {"toolbar",
           {{"name", extension.toolbarItemName()},
            {"toolTip", extension.toolbarItemToolTip()},
            {"image", imageFile(extension.toolbarItemImage())}}},
          {"badges", std::move(badges)},
          {"images", std::move(images)},
          {"directories", textsOf(finder.directoryURLs())}};
}

json directories(const std::vector<URL>& urls) {
  return {{"type", "directories"}, {"urls", textsOf(urls)}};
}

json menu(const json& id, const std::optional<Menu>& menu) {
  return {{"type", "menu"}, {"id", id}, {"menu", menu ? menuValue(*menu) : json()}};
}

json done(const json& id) { return {{"type", "done"}, {"id", id}}; }

json error(const json& id, std::string_view message) {
  return {{"type", "error"}, {"id", id}, {"message", message}};
}

std::string line(const json& message) {
  // What the core hands over is UTF-8; should a byte not be, the host still gets a line.
  std::string text = message.dump(-1, ' ', false, json::error_handler_t::replace);
  text += '\n';
  return text;
}

}  // namespace kelpie::hostlink
