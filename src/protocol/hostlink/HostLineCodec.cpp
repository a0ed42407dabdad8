#include "protocol/hostlink/HostLineCodec.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <variant>
#include <vector>

namespace kelpie::hostlink {
namespace {

using nlohmann::json;

// How deep a line of a host may nest; the deepest that means something has 2 levels.
constexpr int kHostNesting = 16;
// Menus nest 64 levels at the most, and each takes three of JSON.
constexpr int kExtensionNesting = 256;

const json kNull;

// -- Reading --------------------------------------------------------------------------------------

// Where the text ends that begins at `position`: behind the quotation mark that no odd number of
// backslashes stands before, or at the line's end.
std::size_t endOfText(std::string_view line, std::size_t position) {
  for (;;) {
    const std::size_t end = line.find('"', position);
    if (end == std::string_view::npos) return line.size();
    const std::string_view before = line.substr(position, end - position);
    const std::size_t other = before.find_last_not_of('\\');
    const std::size_t backslashes =
        other == std::string_view::npos ? before.size() : before.size() - other - 1;
    if (backslashes % 2 == 0) return end + 1;
    position = end + 1;
  }
}

// Whether the line nests deeper than that, up to the first error in it. Looked at before anything
// is parsed, so that a line of brackets costs no memory.
bool nestsDeeper(std::string_view line, int nesting) {
  int depth = 0;
  for (std::size_t position = 0; position < line.size();) {
    const char c = line[position++];
    if (c == '"')
      position = endOfText(line, position);
    else if ((c == '[' || c == '{') && ++depth > nesting)
      return true;
    else if (c == ']' || c == '}')
      --depth;
  }
  return false;
}

// The object of a line; absent when it is not an object, or nests deeper than that.
std::optional<json> objectOf(std::string_view line, int nesting) {
  if (nestsDeeper(line, nesting)) return std::nullopt;
  json parsed = json::parse(line, nullptr, /*allow_exceptions=*/false);
  if (!parsed.is_object()) return std::nullopt;
  return parsed;
}

// The member of that name, or null.
const json& member(const json& object, const char* name) {
  if (!object.is_object()) return kNull;
  const auto found = object.find(name);
  return found == object.end() ? kNull : *found;
}

std::string text(const json& object, const char* name) {
  const json& value = member(object, name);
  return value.is_string() ? value.get<std::string>() : std::string();
}

Number number(const json& object, const char* name) {
  const json& value = member(object, name);
  return value.is_number() ? value : kNull;
}

// Takes the texts out of an array; `hasOthers` becomes true when anything else stood there.
std::vector<std::string> takeTexts(json& list, bool& hasOthers) {
  std::vector<std::string> result;
  result.reserve(list.size());
  for (json& element : list)
    if (element.is_string())
      result.push_back(std::move(element.get_ref<std::string&>()));
    else
      hasOthers = true;
  return result;
}

std::vector<std::string> texts(json list) {
  bool ignored = false;
  return list.is_array() ? takeTexts(list, ignored) : std::vector<std::string>();
}

// -- Lines of a host ------------------------------------------------------------------------------

// Each reads the object of a line of its type into `reading.line`, or says in `reading.problem`
// which member is absent or wrong.
using HostReader = void (*)(json& object, HostLineReading& reading);

void readHello(json& object, HostLineReading& reading) {
  reading.line = Hello{text(object, "host"), member(object, "version")};
}

void readBeginObserving(json& object, HostLineReading& reading) {
  reading.line = BeginObserving{text(object, "url")};
}

void readEndObserving(json& object, HostLineReading& reading) {
  reading.line = EndObserving{text(object, "url")};
}

void readRequestBadges(json& object, HostLineReading& reading) {
  const auto urls = object.find("urls");
  if (urls == object.end() || !urls->is_array()) {
    reading.problem = "urls is no list";
    return;
  }
  RequestBadges request;
  request.urls = takeTexts(*urls, request.hasOthers);
  reading.line = std::move(request);
}

void readMenuRequest(json& object, HostLineReading& reading) {
  const json& kind = member(object, "kind");
  const json& selected = member(object, "selected");
  const json& targeted = member(object, "targeted");
  MenuRequest request;
  request.id = number(object, "id");
  if (request.id.is_null() || !kind.is_number_integer() ||
      !(selected.is_array() || selected.is_null())) {
    reading.problem = "a menu needs a number for id and kind, and a list for selected";
    return;
  }
  const bool fits = !kind.is_number_unsigned() ||
                    kind.get<std::uint64_t>() <= std::numeric_limits<std::int64_t>::max();
  request.kind = fits ? kind.get<std::int64_t>() : -1;
  if (selected.is_array()) request.selected = takeTexts(object["selected"], request.hasOthers);
  if (targeted.is_string())
    request.targeted = targeted.get<std::string>();
  else if (!targeted.is_null())
    request.hasOthers = true;
  reading.line = std::move(request);
}

void readChoose(json& object, HostLineReading& reading) {
  const json& path = member(object, "path");
  const auto isIndex = [](const json& index) { return index.is_number_unsigned(); };
  Choose choice{number(object, "id"), number(object, "menu"), {}, {}};
  if (choice.id.is_null() || choice.menu.is_null() || !path.is_array() ||
      !std::ranges::all_of(path, isIndex)) {
    reading.problem = "a choice needs a number for id and menu, and a list of indices for path";
    return;
  }
  choice.path = path.get<std::vector<std::size_t>>();
  choice.choice = text(object, "choice");
  reading.line = std::move(choice);
}

struct HostType {
  std::string_view name;
  HostReader read;
};

constexpr HostType kHostTypes[] = {{"hello", readHello},
                                   {"beginObserving", readBeginObserving},
                                   {"endObserving", readEndObserving},
                                   {"requestBadges", readRequestBadges},
                                   {"menu", readMenuRequest},
                                   {"choose", readChoose}};

json objectOf(const Hello& line) {
  return {{"type", "hello"}, {"host", line.host}, {"version", line.version}};
}

json objectOf(const BeginObserving& line) {
  return {{"type", "beginObserving"}, {"url", line.url}};
}

json objectOf(const EndObserving& line) { return {{"type", "endObserving"}, {"url", line.url}}; }

json objectOf(const RequestBadges& line) {
  return {{"type", "requestBadges"}, {"urls", line.urls}};
}

json objectOf(const MenuRequest& line) {
  json object = {
      {"type", "menu"}, {"id", line.id}, {"kind", line.kind}, {"selected", line.selected}};
  if (line.targeted) object["targeted"] = *line.targeted;
  return object;
}

json objectOf(const Choose& line) {
  json object = {{"type", "choose"}, {"id", line.id}, {"menu", line.menu}, {"path", line.path}};
  if (!line.choice.empty()) object["choice"] = line.choice;
  return object;
}

// -- Lines of the extension -----------------------------------------------------------------------

// Lines nest so deep at the most that these may recurse.
std::vector<Item> readItems(const json& menu);

Item readItem(const json& value) {
  Item item;
  item.title = text(value, "title");
  const json& action = member(value, "action");
  if (action.is_string()) item.action = action.get<std::string>();
  const json& tag = member(value, "tag");
  if (tag.is_number_integer()) item.tag = tag.get<std::int64_t>();
  const json& state = member(value, "state");
  item.isTicked = state.is_number() && state != 0;
  item.isEnabled = member(value, "enabled") == true;
  item.image = text(value, "image");
  const json& submenu = member(value, "submenu");
  item.hasSubmenu = submenu.is_object();
  item.submenuTitle = text(submenu, "title");
  item.submenu = readItems(submenu);
  return item;
}

std::vector<Item> readItems(const json& menu) {
  std::vector<Item> items;
  const json& values = member(menu, "items");
  if (!values.is_array()) return items;
  items.reserve(values.size());
  // Positions count when an item is chosen, so that no element is left out.
  for (const json& value : values) items.push_back(readItem(value));
  return items;
}

ExtensionLine readWelcome(const json& object) {
  Welcome welcome;
  const json& toolbar = member(object, "toolbar");
  welcome.version = member(object, "version");
  welcome.toolbarName = text(toolbar, "name");
  welcome.toolbarToolTip = text(toolbar, "toolTip");
  welcome.toolbarImage = text(toolbar, "image");
  const json& badges = member(object, "badges");
  if (badges.is_object())
    for (const auto& [identifier, look] : badges.items())
      welcome.badges[identifier] = {text(look, "image"), text(look, "label")};
  const json& images = member(object, "images");
  if (images.is_object()) {
    for (const auto& [name, file] : images.items())
      if (file.is_string()) welcome.images[name] = file.get<std::string>();
  }
  welcome.directories = texts(member(object, "directories"));
  return welcome;
}

ExtensionLine readDirectories(const json& object) {
  return Directories{texts(member(object, "urls"))};
}

ExtensionLine readBadges(const json& object) {
  Badges line;
  const json& list = member(object, "badges");
  if (!list.is_array()) return line;
  for (const json& entry : list)
    if (entry.is_array() && entry.size() == 2 && entry[0].is_string() && entry[1].is_string())
      line.badges.emplace_back(entry[0].get<std::string>(), entry[1].get<std::string>());
  return line;
}

ExtensionLine readMenuAnswer(const json& object) {
  const json& menu = member(object, "menu");
  return MenuAnswer{number(object, "id"), menu.is_object(), text(menu, "title"), readItems(menu)};
}

ExtensionLine readDone(const json& object) { return Done{number(object, "id")}; }

ExtensionLine readError(const json& object) {
  return Error{number(object, "id"), text(object, "message")};
}

struct ExtensionType {
  std::string_view name;
  ExtensionLine (*read)(const json& object);
};

constexpr ExtensionType kExtensionTypes[] = {
    {"welcome", readWelcome}, {"directories", readDirectories},
    {"badges", readBadges},   {"menu", readMenuAnswer},
    {"done", readDone},       {"error", readError}};

// Menus nest as deep as reference names do, which the references bound.
json menuObject(const std::string& title, const std::vector<Item>& items);

json itemObject(const Item& item) {
  return {{"title", item.title},
          {"action", item.action ? json(*item.action) : json()},
          {"tag", item.tag},
          {"state", item.isTicked ? 1 : 0},
          {"enabled", item.isEnabled},
          {"image", item.image.empty() ? json() : json(item.image)},
          {"submenu", item.hasSubmenu ? menuObject(item.submenuTitle, item.submenu) : json()}};
}

json menuObject(const std::string& title, const std::vector<Item>& items) {
  json list = json::array();
  for (const Item& item : items) list.push_back(itemObject(item));
  return {{"title", title}, {"items", std::move(list)}};
}

json objectOf(const OtherLine& /*line*/) { return json::object(); }

json objectOf(const Welcome& line) {
  json badges = json::object();
  for (const auto& [identifier, look] : line.badges)
    badges[identifier] = {{"image", look.image}, {"label", look.label}};
  json images = json::object();
  for (const auto& [name, file] : line.images) images[name] = file;
  return {{"type", "welcome"},
          {"version", line.version},
          {"toolbar",
           {{"name", line.toolbarName},
            {"toolTip", line.toolbarToolTip},
            {"image", line.toolbarImage}}},
          {"badges", std::move(badges)},
          {"images", std::move(images)},
          {"directories", line.directories}};
}

json objectOf(const Directories& line) { return {{"type", "directories"}, {"urls", line.urls}}; }

json objectOf(const MenuAnswer& line) {
  return {{"type", "menu"},
          {"id", line.id},
          {"menu", line.isThere ? menuObject(line.title, line.items) : json()}};
}

json objectOf(const Done& line) { return {{"type", "done"}, {"id", line.id}}; }

json objectOf(const Error& line) {
  return {{"type", "error"}, {"id", line.id}, {"message", line.message}};
}

// Texts from the file system or from others may hold any byte; the other end must get a line.
std::string textOf(const json& value) {
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

template <class Line>
std::string textOf(const Line& line) {
  return textOf(objectOf(line));
}

// URLs and the names of badges, for which nothing has to be escaped.
bool isPlain(std::string_view text) {
  return std::ranges::all_of(text,
                             [](char c) { return ' ' <= c && c <= '~' && c != '"' && c != '\\'; });
}

void appendText(std::string& line, const std::string& text) {
  if (isPlain(text))
    line.append("\"").append(text).append("\"");
  else
    line += textOf(json(text));
}

// Nearly all that is ever sent; without the tree of values it takes a third of the time.
std::string textOf(const Badges& line) {
  std::string text = R"({"badges":[)";
  for (const auto& [url, identifier] : line.badges) {
    text += text.back() == '[' ? "[" : ",[";
    appendText(text, url);
    text += ',';
    appendText(text, identifier);
    text += ']';
  }
  text += R"(],"type":"badges"})";
  return text;
}

template <class Message>
std::string textOfOne(const Message& message) {
  return std::visit([](const auto& line) { return textOf(line); }, message) + '\n';
}

}  // namespace

std::string lineOf(const HostLine& message) { return textOfOne(message); }

std::string lineOf(const ExtensionLine& message) { return textOfOne(message); }

HostLineReading readHostLine(std::string_view line) {
  HostLineReading reading;
  std::optional<json> object = objectOf(line, kHostNesting);
  if (!object) {
    reading.problem = "the line is no JSON object";
    return reading;
  }
  reading.id = number(*object, "id");
  const auto* type = std::ranges::find(kHostTypes, text(*object, "type"), &HostType::name);
  reading.isTypeKnown = type != std::end(kHostTypes);
  if (reading.isTypeKnown)
    type->read(*object, reading);
  else
    reading.problem = "the type of the line is not known";
  return reading;
}

std::optional<ExtensionLine> readExtensionLine(std::string_view line) {
  const std::optional<json> object = objectOf(line, kExtensionNesting);
  if (!object) return std::nullopt;
  const auto* type =
      std::ranges::find(kExtensionTypes, text(*object, "type"), &ExtensionType::name);
  return type != std::end(kExtensionTypes) ? type->read(*object) : ExtensionLine(OtherLine{});
}

}  // namespace kelpie::hostlink
