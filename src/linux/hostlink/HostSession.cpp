#include "linux/hostlink/HostSession.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <utility>
#include <variant>

#include "protocol/hostlink/HostLineCodec.h"

namespace kelpie {
namespace {

// A host handles a line as a whole, on its main loop: so many badges hold it for some milliseconds.
constexpr std::size_t kBadgesInALine = 100;

// The file URLs of a list. `wrong` becomes true when anything else stood there.
std::vector<URL> fileURLs(const std::vector<std::string>& texts, bool& wrong) {
  std::vector<URL> urls;
  urls.reserve(texts.size());
  for (const std::string& text : texts)
    if (std::optional<URL> url = hostlink::fileURL(text))
      urls.push_back(*std::move(url));
    else
      wrong = true;
  return urls;
}

}  // namespace

HostSession::HostSession(HostLinkHub& hub, Send send) : hub_(hub), send_(std::move(send)) {}

HostSession::~HostSession() {
  if (greeted_) hub_.leave(*this);
  for (const URL& url : asked_.shown()) hub_.endObserving(*this, url);
}

bool HostSession::handleLine(std::string_view text) {
  thread_.check();
  if (text.empty()) return true;
  const hostlink::HostLineReading reading = hostlink::readHostLine(text);
  lineId_ = reading.id;
  const bool isHello = reading.line && std::holds_alternative<hostlink::Hello>(*reading.line);
  if (reading.isTypeKnown && !isHello && !greeted_) {
    sendError("hello comes first");
    return true;
  }
  if (!reading.line) {
    sendError(reading.problem);
    return true;
  }
  try {
    return std::visit([this](const auto& line) { return serve(line); }, *reading.line);
  } catch (const std::invalid_argument& failure) {
    sendError(failure.what());
    return true;
  }
}

void HostSession::handleOverlongLine() {
  thread_.check();
  lineId_ = nullptr;
  sendError("the line is too long");
}

bool HostSession::serve(const hostlink::Hello& line) {
  if (line.version != hostlink::kVersion) {
    sendError("only version 1 is spoken here");
    return false;
  }
  if (!std::exchange(greeted_, true)) hub_.join(*this);
  send(hub_.welcome());
  return true;
}

bool HostSession::serve(const hostlink::BeginObserving& line) {
  const std::optional<URL> url = hostlink::fileURL(line.url);
  if (!url)
    sendError("url is no file URL");
  else if (asked_.show(*url))
    hub_.beginObserving(*this, *url);
  return true;
}

bool HostSession::serve(const hostlink::EndObserving& line) {
  const std::optional<URL> url = hostlink::fileURL(line.url);
  if (!url)
    sendError("url is no file URL");
  else if (asked_.hide(url->path()))
    hub_.endObserving(*this, *url);
  return true;
}

bool HostSession::serve(const hostlink::RequestBadges& line) {
  bool wrong = line.hasOthers;
  for (const URL& url : fileURLs(line.urls, wrong)) {
    asked_.ask(url);
    hub_.extension().requestBadgeIdentifierForURL(url);
  }
  if (wrong) sendError("an element of urls is no file URL");
  return true;
}

bool HostSession::serve(const hostlink::MenuRequest& line) {
  bool wrong = line.hasOthers;
  std::vector<URL> selected = fileURLs(line.selected, wrong);
  std::optional<URL> targeted;
  if (line.targeted) targeted = hostlink::fileURL(*line.targeted);
  if (line.targeted && !targeted) wrong = true;
  if (wrong) sendError("an element of selected, or targeted, is no file URL");
  send(hostlink::answerOf(
      line.id, hub_.menu(*this, line.id, line.kind, std::move(selected), std::move(targeted))));
  return true;
}

bool HostSession::serve(const hostlink::Choose& line) {
  if (const std::optional<std::string> refusal =
          hub_.choose(*this, line.menu, line.path, line.choice))
    sendError(*refusal);
  else
    send(hostlink::Done{line.id});
  return true;
}

void HostSession::tellBadges(const std::vector<LinuxFinderSyncController::Badge>& badges) {
  thread_.check();
  hostlink::Badges line;
  const auto flush = [this, &line] {
    if (!line.badges.empty()) send(std::exchange(line, {}));
  };
  for (const auto& [url, identifier] : badges) {
    if (const auto spelling = asked_.spellingToTell(url, identifier))
      line.badges.emplace_back(*spelling, identifier);
    if (line.badges.size() >= kBadgesInALine) flush();
  }
  flush();
}

void HostSession::tellDirectories(const std::vector<URL>& urls) {
  thread_.check();
  send(hostlink::Directories{hostlink::textsOf(urls)});
}

void HostSession::send(const hostlink::ExtensionLine& message) { send_(hostlink::lineOf(message)); }

void HostSession::sendError(std::string_view message) {
  send(hostlink::Error{lineId_, std::string(message)});
}

}  // namespace kelpie
