#include "linux/hostclient/HostClient.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "foundation/URL.h"
#include "protocol/hostlink/HostLineCodec.h"

namespace kelpie {
namespace {

// So many bytes of URLs in a line: far below what a line may hold, whatever must be escaped.
constexpr std::size_t kQuestionBytesInALine = std::size_t{1} << 20U;

std::string urlOf(const std::string& path, bool isFolder) {
  return URL::fileURLWithPath(path, isFolder).absoluteString();
}

// The path of a file URL; absent for anything else.
std::optional<std::string> pathOf(const std::string& text) {
  const auto url = URL::fromString(text);
  if (!url || !url->isFileURL()) return std::nullopt;
  const std::string& path = url->path();
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  return path;
}

std::vector<std::string> pathsOf(const std::vector<std::string>& urls) {
  std::vector<std::string> paths;
  for (const std::string& url : urls)
    if (auto path = pathOf(url)) paths.push_back(*std::move(path));
  return paths;
}

bool isWithin(std::string_view path, std::string_view folder) {
  if (folder == "/" || path == folder) return true;
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

// The item at that index path; null when there is none.
const hostlink::Item* itemAt(const std::vector<hostlink::Item>& items,
                             const std::vector<std::size_t>& path) {
  const std::vector<hostlink::Item>* level = &items;
  const hostlink::Item* item = nullptr;
  for (const std::size_t index : path) {
    if (index >= level->size()) return nullptr;
    item = &(*level)[index];
    level = &item->submenu;
  }
  return item;
}

}  // namespace

// -- The connection -------------------------------------------------------------------------------

void HostClient::connected(Time now) {
  state_ = State::Greeting;
  greetingDeadline_ = now + kAnswerLimit;
  shouldClose_ = false;
  problem_.clear();
  lines_ = LineReader(hostlink::kMaximumLineLength);
  output_.clear();
  say(hostlink::Hello{name_});
}

void HostClient::connectionFailed(Time now) { apart(now, true); }

void HostClient::ended(Time now) { apart(now, state_ != State::Ready); }

void HostClient::attemptNow(Time now) {
  if (state_ != State::Apart) return;
  pause_ = kFirstPause;
  nextAttempt_ = now;
}

// After a conversation the pauses begin anew; even then there is one, so that an extension that
// ends at once is not asked all the time.
void HostClient::apart(Time now, bool failed) {
  if (!failed) pause_ = kFirstPause;
  nextAttempt_ = now + pause_;
  if (failed) pause_ = std::min(2 * pause_, kLongestPause);
  state_ = State::Apart;
  shouldClose_ = false;
  output_.clear();
  questions_.clear();
  const std::vector<std::string> changed = items_.forgetBadges();
  for (auto& [id, question] : std::exchange(pending_, {})) question.answer(nullptr, kNoConnection);
  if (!changed.empty() && handlers_.onBadgesChanged) handlers_.onBadgesChanged(changed);
}

void HostClient::refuse(std::string problem) {
  problem_ = std::move(problem);
  shouldClose_ = true;
}

void HostClient::received(std::string_view bytes, Time now) {
  lines_.feed(
      bytes,
      [&](std::string_view line) {
        handleLine(line, now);
        return !shouldClose_;
      },
      [&] {
        ++dropped_;
        return true;
      });
}

std::string HostClient::takeOutput(std::size_t maximumQuestions) {
  writeQuestions(maximumQuestions);
  return std::exchange(output_, {});
}

void HostClient::tick(Time now) {
  if (state_ == State::Greeting && now >= greetingDeadline_) refuse(kNoAnswer);
  // An answer may lead to another question.
  std::vector<Pending> over;
  for (auto entry = pending_.begin(); entry != pending_.end();) {
    if (now >= entry->second.deadline) {
      over.push_back(std::move(entry->second));
      entry = pending_.erase(entry);
    } else {
      ++entry;
    }
  }
  for (const Pending& question : over) question.answer(nullptr, kNoAnswer);
}

std::optional<HostClient::Time> HostClient::wakeAt() const {
  if (state_ == State::Apart) return nextAttempt_;
  std::optional<Time> time;
  if (state_ == State::Greeting) time = greetingDeadline_;
  for (const auto& [id, question] : pending_)
    time = time ? std::min(*time, question.deadline) : question.deadline;
  return time;
}

void HostClient::say(const hostlink::HostLine& line) { output_ += hostlink::lineOf(line); }

// -- Lines ----------------------------------------------------------------------------------------

void HostClient::handleLine(std::string_view text, Time now) {
  if (text.empty()) return;
  const auto line = hostlink::readExtensionLine(text);
  if (!line) {
    ++dropped_;
    return;
  }
  std::visit([&](const auto& message) { handle(message, now); }, *line);
}

void HostClient::handle(const hostlink::OtherLine& /*line*/, Time /*now*/) {}

void HostClient::handle(const hostlink::Welcome& line, Time /*now*/) {
  if (state_ != State::Greeting) return;
  if (line.version != hostlink::kVersion)
    return refuse("the extension speaks another version of the protocol");
  state_ = State::Ready;
  pause_ = kFirstPause;
  welcome_ = line;
  directories_ = pathsOf(line.directories);
  for (const std::string& folder : items_.folders())
    if (isObserved(folder)) say(hostlink::BeginObserving{urlOf(folder, true)});
  askForAll();
  if (handlers_.onWelcome) handlers_.onWelcome();
}

void HostClient::handle(const hostlink::Directories& line, Time /*now*/) {
  if (state_ != State::Ready) return;
  const std::vector<std::string> folders = items_.folders();
  std::vector<bool> before;
  before.reserve(folders.size());
  for (const std::string& folder : folders) before.push_back(isObserved(folder));
  directories_ = pathsOf(line.urls);
  for (std::size_t i = 0; i < folders.size(); ++i) {
    const bool now = isObserved(folders[i]);
    if (now && !before[i]) say(hostlink::BeginObserving{urlOf(folders[i], true)});
    if (!now && before[i]) say(hostlink::EndObserving{urlOf(folders[i], true)});
  }
  // Of what is observed no longer the extension tells nothing more.
  std::vector<std::string> changed;
  for (const std::string& path : items_.paths()) {
    if (isObserved(path)) continue;
    ViewedItems::Item& item = *items_.find(path);
    item.isAsked = false;
    if (std::exchange(item.badge, std::nullopt)) changed.push_back(path);
  }
  askForAll();
  if (!changed.empty() && handlers_.onBadgesChanged) handlers_.onBadgesChanged(changed);
  if (handlers_.onDirectoriesChanged) handlers_.onDirectoriesChanged();
}

void HostClient::handle(const hostlink::Badges& line, Time /*now*/) {
  std::vector<std::string> changed;
  for (const auto& [url, identifier] : line.badges) {
    const auto path = pathOf(url);
    ViewedItems::Item* item = path ? items_.find(*path) : nullptr;
    if (item == nullptr || !item->isAsked || item->badge == identifier) continue;
    item->badge = identifier;
    changed.push_back(*path);
  }
  if (!changed.empty() && handlers_.onBadgesChanged) handlers_.onBadgesChanged(changed);
}

void HostClient::handle(const hostlink::MenuAnswer& line, Time /*now*/) { answer(line.id, line); }

void HostClient::handle(const hostlink::Done& line, Time /*now*/) { answer(line.id, line); }

void HostClient::handle(const hostlink::Error& line, Time /*now*/) {
  if (state_ == State::Greeting) return refuse("the extension refuses: " + line.message);
  answer(line.id, line);
}

void HostClient::answer(const hostlink::Number& id, const hostlink::ExtensionLine& line) {
  if (!id.is_number_integer()) return;
  const auto found = pending_.find(id.get<std::int64_t>());
  if (found == pending_.end()) return;
  const Pending question = std::move(found->second);
  pending_.erase(found);
  if (const auto* error = std::get_if<hostlink::Error>(&line))
    question.answer(nullptr, "the extension refuses: " + error->message);
  else
    question.answer(&line, {});
}

// -- Folders and badges ---------------------------------------------------------------------------

bool HostClient::isObserved(std::string_view path) const {
  return std::ranges::any_of(directories_,
                             [path](const std::string& folder) { return isWithin(path, folder); });
}

void HostClient::showFolder(const std::string& path) {
  if (items_.show(path) && isReady() && isObserved(path))
    say(hostlink::BeginObserving{urlOf(path, true)});
}

void HostClient::hideFolder(const std::string& path) {
  if (items_.hide(path) && isReady() && isObserved(path))
    say(hostlink::EndObserving{urlOf(path, true)});
}

void HostClient::want(const std::string& path, bool isFolder) {
  ask(path, items_.want(path, isFolder));
}

void HostClient::ask(const std::string& path, ViewedItems::Item& item) {
  if (item.isAsked || !isReady() || !isObserved(path)) return;
  item.isAsked = true;
  questions_.push_back(path);
}

void HostClient::askForAll() {
  for (const std::string& path : items_.paths()) ask(path, *items_.find(path));
}

void HostClient::askAgain(const std::string& path) {
  ViewedItems::Item* item = items_.find(path);
  if (item == nullptr) return;
  item->isAsked = false;
  ask(path, *item);
}

void HostClient::writeQuestions(std::size_t maximum) {
  hostlink::RequestBadges line;
  std::size_t bytes = 0;
  const auto flush = [&] {
    bytes = 0;
    if (!line.urls.empty()) say(std::exchange(line, {}));
  };
  for (; maximum > 0 && !questions_.empty(); --maximum) {
    const std::string path = std::move(questions_.front());
    questions_.pop_front();
    const ViewedItems::Item* item = items_.find(path);
    if (item == nullptr) continue;  // its folder was hidden meanwhile
    line.urls.push_back(urlOf(path, item->isFolder));
    bytes += line.urls.back().size();
    if (bytes >= kQuestionBytesInALine) flush();
  }
  flush();
}

std::optional<std::string> HostClient::badge(std::string_view path) const {
  const ViewedItems::Item* item = items_.find(path);
  return item != nullptr ? item->badge : std::nullopt;
}

// -- Menus ----------------------------------------------------------------------------------------

void HostClient::askMenu(const MenuQuestion& question, MenuHandler handler, Time now) {
  if (!isReady()) return handler({kNoConnection, 0, false, {}});
  const std::int64_t id = ++lastId_;
  hostlink::MenuRequest line{id, question.kind, {}, {}};
  for (const Place& place : question.selected)
    line.selected.push_back(urlOf(place.path, place.isFolder));
  if (question.targeted) line.targeted = urlOf(*question.targeted, true);
  pending_[id] = {now + kAnswerLimit,
                  [id, handler = std::move(handler)](const hostlink::ExtensionLine* message,
                                                     const std::string& problem) {
                    const auto* menu = std::get_if<hostlink::MenuAnswer>(message);
                    if (menu != nullptr)
                      handler({{}, id, menu->isThere, menu->items});
                    else
                      handler({message == nullptr ? problem : kNoAnswer, id, false, {}});
                  }};
  say(line);
}

void HostClient::choose(std::int64_t menu, const std::vector<std::size_t>& path,
                        const std::string& choice, ChoiceHandler handler, Time now) {
  if (!isReady()) return handler(kNoConnection);
  const std::int64_t id = ++lastId_;
  pending_[id] = {now + kActionLimit,
                  [handler = std::move(handler)](const hostlink::ExtensionLine* message,
                                                 const std::string& problem) {
                    const bool isDone = std::get_if<hostlink::Done>(message) != nullptr;
                    handler(isDone || message == nullptr ? problem : kNoAnswer);
                  }};
  say(hostlink::Choose{id, menu, path, choice});
}

void HostClient::chooseByTitles(const MenuQuestion& question, std::vector<Step> steps,
                                std::optional<std::string> action, ChoiceHandler handler,
                                Time now) {
  askMenu(
      question,
      [this, steps = std::move(steps), action = std::move(action), handler = std::move(handler),
       now](const MenuReply& reply) {
        if (!reply.problem.empty()) return handler(reply.problem);
        const auto path = find(reply.items, steps);
        const hostlink::Item* item = path ? itemAt(reply.items, *path) : nullptr;
        if (item == nullptr || item->action != action)
          return handler("the menu has changed: the item is not there any more");
        if (!item->isEnabled) return handler("the item is disabled at the moment");
        // The menu has come within its own limit, so that this adds to the time of the action only.
        choose(reply.id, *path, {}, handler, now + kAnswerLimit);
      },
      now);
}

std::optional<std::vector<std::size_t>> HostClient::find(const std::vector<hostlink::Item>& items,
                                                         const std::vector<Step>& steps) {
  std::vector<std::size_t> path;
  const std::vector<hostlink::Item>* level = &items;
  for (const Step& step : steps) {
    std::size_t left = step.nth;
    const auto found = std::ranges::find_if(*level, [&](const hostlink::Item& item) {
      return item.title == step.title && left-- == 0;
    });
    if (found == level->end()) return std::nullopt;
    path.push_back(static_cast<std::size_t>(found - level->begin()));
    level = &found->submenu;
  }
  return path.empty() ? std::nullopt : std::optional(path);
}

}  // namespace kelpie
