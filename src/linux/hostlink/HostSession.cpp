#include "linux/hostlink/HostSession.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kelpie {
namespace {

// So many badges make a line of some megabytes at the most, whatever the lengths of the paths.
constexpr std::size_t kBadgesInALine = 1'000;

const nlohmann::json kNull;

// The member of that name, or null.
const nlohmann::json& member(const nlohmann::json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() ? kNull : *found;
}

}  // namespace

// A line that was understood so far: an object with a known type.
struct HostSession::Request {
  const Json& line;
  const Json& id;  // the number of the line, or null

  const Json& operator[](const char* name) const { return member(line, name); }
};

// A type of line. The handler answers whether the conversation goes on.
struct HostSession::Route {
  std::string_view type;
  bool (HostSession::*serve)(const Request& request);
};

const HostSession::Route* HostSession::routeFor(const std::string& type) {
  static constexpr Route kRoutes[] = {{"hello", &HostSession::hello},
                                      {"beginObserving", &HostSession::beginObserving},
                                      {"endObserving", &HostSession::endObserving},
                                      {"requestBadges", &HostSession::requestBadges},
                                      {"menu", &HostSession::menu},
                                      {"choose", &HostSession::choose}};
  for (const Route& route : kRoutes) {
    if (route.type == type) return &route;
  }
  return nullptr;
}

HostSession::HostSession(HostLinkHub& hub, Send send) : hub_(hub), send_(std::move(send)) {}

HostSession::~HostSession() {
  if (greeted_) hub_.leave(*this);
  for (const auto& [path, url] : shown_) hub_.endObserving(url);
}

bool HostSession::takeLine(std::string_view line) {
  if (line.empty()) return true;
  const std::optional<Json> parsed = hostlink::parse(line);
  if (!parsed) {
    sendError(kNull, "the line is no JSON object");
    return true;
  }
  const Json& number = member(*parsed, "id");
  const Request request{*parsed, number.is_number() ? number : kNull};
  const Json& type = request["type"];
  const Route* route = type.is_string() ? routeFor(type.get_ref<const std::string&>()) : nullptr;
  if (route == nullptr) {
    sendError(request.id, "the type of the line is not known");
    return true;
  }
  if (!greeted_ && route->serve != &HostSession::hello) {
    sendError(request.id, "hello comes first");
    return true;
  }
  try {
    return (this->*route->serve)(request);
  } catch (const std::invalid_argument& failure) {
    sendError(request.id, failure.what());
    return true;
  }
}

void HostSession::takeOverlongLine() { sendError(kNull, "the line is too long"); }

bool HostSession::hello(const Request& request) {
  if (request["version"] != hostlink::kVersion) {
    sendError(request.id, "only version 1 is spoken here");
    return false;
  }
  if (!std::exchange(greeted_, true)) hub_.join(*this);
  send(hub_.welcome());
  return true;
}

bool HostSession::beginObserving(const Request& request) {
  const std::optional<URL> url = hostlink::fileURL(request["url"]);
  if (!url) {
    sendError(request.id, "url is no file URL");
    return true;
  }
  if (!asked_.show(url->path())) return true;
  shown_.emplace(url->path(), *url);
  hub_.beginObserving(*url);
  return true;
}

bool HostSession::endObserving(const Request& request) {
  const std::optional<URL> url = hostlink::fileURL(request["url"]);
  if (!url) {
    sendError(request.id, "url is no file URL");
    return true;
  }
  if (!asked_.hide(url->path())) return true;
  shown_.erase(url->path());
  hub_.endObserving(*url);
  return true;
}

bool HostSession::requestBadges(const Request& request) {
  if (!request["urls"].is_array()) {
    sendError(request.id, "urls is no list");
    return true;
  }
  bool wrong = false;
  for (const URL& url : fileURLs(request["urls"], wrong)) {
    asked_.ask(url.path(), url.absoluteString());
    hub_.requestBadge(url);
  }
  if (wrong) sendError(request.id, "an element of urls is no file URL");
  return true;
}

bool HostSession::menu(const Request& request) {
  const Json& kind = request["kind"];
  const Json& selected = request["selected"];
  const Json& targeted = request["targeted"];
  if (request.id.is_null() || !kind.is_number_integer() ||
      !(selected.is_array() || selected.is_null())) {
    sendError(request.id, "a menu needs a number for id and kind, and a list for selected");
    return true;
  }
  bool wrong = false;
  std::vector<URL> urls = fileURLs(selected, wrong);
  std::optional<URL> target = hostlink::fileURL(targeted);
  if (!targeted.is_null() && !target) wrong = true;
  if (wrong) sendError(request.id, "an element of selected, or targeted, is no file URL");
  // Numbers beyond the signed ones are no kind either.
  const bool fits = !kind.is_number_unsigned() ||
                    kind.get<std::uint64_t>() <= std::numeric_limits<std::int64_t>::max();
  send(hostlink::menu(request.id, hub_.menu(*this, request.id, fits ? kind.get<std::int64_t>() : -1,
                                            std::move(urls), std::move(target))));
  return true;
}

bool HostSession::choose(const Request& request) {
  const Json& path = request["path"];
  const auto isIndex = [](const Json& index) { return index.is_number_unsigned(); };
  if (request.id.is_null() || !request["menu"].is_number() || !path.is_array() ||
      !std::all_of(path.begin(), path.end(), isIndex)) {
    sendError(request.id,
              "a choice needs a number for id and menu, and a list of indices for path");
    return true;
  }
  const std::optional<std::string> refusal =
      hub_.choose(*this, request["menu"], path.get<std::vector<std::size_t>>());
  if (refusal) {
    sendError(request.id, *refusal);
  } else {
    send(hostlink::done(request.id));
  }
  return true;
}

std::vector<URL> HostSession::fileURLs(const Json& list, bool& wrong) {
  std::vector<URL> urls;
  if (list.is_array()) urls.reserve(list.size());
  for (const Json& element : list) {
    if (std::optional<URL> url = hostlink::fileURL(element)) {
      urls.push_back(*std::move(url));
    } else {
      wrong = true;
    }
  }
  return urls;
}

void HostSession::tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges) {
  Json list = Json::array();
  const auto flush = [this, &list] {
    if (!list.empty()) send({{"type", "badges"}, {"badges", std::exchange(list, Json::array())}});
  };
  for (const auto& [url, identifier] : badges) {
    if (const auto spelling = asked_.spelling(url.path())) {
      list.push_back(Json::array({*spelling, identifier}));
    } else if (asked_.shows(AskedItems::folderOf(url.path()))) {
      list.push_back(Json::array({url.absoluteString(), identifier}));
    }
    if (list.size() >= kBadgesInALine) flush();
  }
  flush();
}

void HostSession::tellDirectories(const std::vector<URL>& urls) {
  send(hostlink::directories(urls));
}

void HostSession::send(const Json& message) { send_(hostlink::line(message)); }

void HostSession::sendError(const Json& id, std::string_view message) {
  send(hostlink::error(id, message));
}

}  // namespace kelpie
