#include "agent/actions/ActionRequest.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "agent/actions/ActionRules.h"
#include "agent/git/StatusSnapshot.h"
#include "foundation/MenuItem.h"
#include "foundation/URL.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"

namespace kelpie::agent {
namespace {

// Titles hold names of files and references, which are far shorter.
constexpr std::size_t kLongestTitle = std::size_t{64} << 10U;
constexpr std::size_t kLongestChoice = 128;

struct CreationMessage {
  std::string_view selector;
  std::string_view action;
};
constexpr std::array<CreationMessage, 2> kCreations = {
    {{selector::kCloneRepository, "clone:"}, {selector::kCreateRepository, "createRepository:"}}};

// The path of a file URL, of a deleted item's placeholder without its ending. Absent for any other
// URL, and for a path that no system call accepts.
std::optional<std::string> pathOf(const Object& object) {
  const std::optional<URL> url = object.url();
  if (!url || !url->isFileURL()) return std::nullopt;
  std::string path = url->path();
  if (path.ends_with(kDeletedItemSuffix)) path.resize(path.size() - kDeletedItemSuffix.size());
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  return path;
}

// The items that a menu item was made for. Absent when there is something else in their place.
std::optional<std::vector<std::string>> pathsOf(const Object& object) {
  std::vector<std::string> paths;
  if (object.isNil()) return paths;
  const Objects urls = object.isDictionary() ? Objects{object["file"]} : object.elements();
  if (!object.isDictionary() && !object.isArray()) return std::nullopt;
  paths.reserve(urls.size());
  for (const Object& url : urls) {
    std::optional<std::string> path = pathOf(url);
    if (!path) return std::nullopt;
    paths.push_back(*std::move(path));
  }
  return paths;
}

std::optional<ActionRequest> creation(const Object& message) {
  const std::string selector = message[kMessageSelectorKey].stringValue();
  for (const CreationMessage& each : kCreations) {
    if (each.selector != selector) continue;
    std::optional<std::string> folder = pathOf(message[kMessageArgumentKey]);
    if (!folder) return std::nullopt;
    ActionRequest request(*ActionRules::find(each.action));
    request.paths.push_back(*std::move(folder));
    return request;
  }
  return std::nullopt;
}

std::optional<ActionRequest> chosen(const Object& message) {
  const auto item = message[kMessageSenderKey].as<MenuItem>();
  if (item == nullptr || !item->action || item->title.size() > kLongestTitle) return std::nullopt;
  const ActionRule* rule = ActionRules::find(*item->action);
  if (rule == nullptr || rule->kind == ActionKind::Creation) return std::nullopt;
  std::optional<std::vector<std::string>> paths = pathsOf(item->representedObject);
  if (!paths) return std::nullopt;
  ActionRequest request(*rule);
  request.title = item->title;
  request.tag = item->tag;
  if (item->choice.size() <= kLongestChoice) request.choice = item->choice;
  request.paths = *std::move(paths);
  request.target = FileIdentifier::fromObject(message[kMessageTargetKey]);
  if (rule->kind == ActionKind::Repository && !request.target) return std::nullopt;
  return request;
}

}  // namespace

std::optional<ActionRequest> ActionRequest::fromMessage(const Object& message) {
  std::optional<ActionRequest> request =
      message[kMessageSenderKey].isNil() ? creation(message) : chosen(message);
  if (request) request->portName = message[kMessagePortNameKey].stringValue();
  return request;
}

}  // namespace kelpie::agent
