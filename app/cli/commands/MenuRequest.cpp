#include "cli/commands/MenuRequest.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>
#include <utility>

#include "cli/output/BadgeLook.h"
#include "cli/text/FilePath.h"

namespace kelpie::cli {

// Where a menu stands, by the name that --kind gives it.
struct MenuRequest::Kind {
  std::string_view name;
  int number;          // on the host link
  bool isOfSelection;  // of the PATHs; else of the one folder that PATH names
  bool needsObserved;  // only asked for in observed folders
};

std::unique_ptr<MenuRequest> MenuRequest::make(const Arguments& arguments,
                                               const std::vector<std::string>& operands,
                                               Context& context) {
  static constexpr Kind kKinds[] = {{"items", 0, true, true},
                                    {"container", 1, false, true},
                                    {"sidebar", 2, false, false},
                                    {"toolbar", 3, true, false}};
  const Kind& kind = *std::ranges::find(kKinds, arguments.value("kind", "items"), &Kind::name);
  auto session = ExtensionSession::openOrComplain(context);
  if (!session) return nullptr;
  std::unique_ptr<MenuRequest> request(new MenuRequest(std::move(session)));
  auto problem = request->locate(operands, kind);
  if (!problem) problem = request->open(kind, arguments.wait());
  if (!problem) return request;
  context.console.complain(context.console.printable(*problem));
  return nullptr;
}

std::optional<std::string> MenuRequest::locate(const std::vector<std::string>& operands,
                                               const Kind& kind) {
  if (!kind.isOfSelection && operands.size() != 1)
    return "the menu of a " + std::string(kind.name) + " takes one PATH";
  for (const std::string& operand : operands) {
    FilePath::Place place = FilePath::locate(operand);
    if (!place.exists && (kind.number == 1 || kind.number == 2))
      return operand + ": nothing is there";
    if (place_.empty()) place_ = place.path;
    if (kind.needsObserved && !session_->isObserved(place.path))
      return operand + ": lies in no observed folder; see: kelpie folders";
    if (!kind.isOfSelection && !place.isFolder) return operand + ": is no folder";
    if (!place.exists) {
      place.path = FilePath::placeholderOf(place.path);
      deleted_.emplace_back(operand, place.path);
    }
    // The toolbar of a window without a selection speaks of the folder that the window shows.
    const bool isGround =
        !kind.isOfSelection || (kind.number == 3 && place.isFolder && operands.size() == 1);
    const std::string folder = isGround ? place.path : FilePath::existingFolderAbove(place.path);
    if (!question_.targeted) question_.targeted = folder;
    if (!isGround) question_.selected.push_back({place.path, place.isFolder});
    // The working copy opens when its folder comes into view.
    if (session_->isObserved(folder)) badges_.showFolder(folder);
    if (session_->isObserved(place.path)) badges_.want(place.path, place.isFolder);
  }
  return std::nullopt;
}

std::optional<std::string> MenuRequest::open(const Kind& kind, std::chrono::milliseconds wait) {
  if (!badges_.settle(wait)) return "the extension has ended";
  if (auto problem = checkDeleted()) return problem;
  question_.kind = kind.number;
  isSidebar_ = kind.name == "sidebar";
  return refresh();
}

std::optional<std::string> MenuRequest::checkDeleted() const {
  for (const auto& [operand, placeholder] : deleted_) {
    const auto badge = badges_.badge(placeholder);
    // Any other item is unchanged.
    if (!badge || !isBadge(*badge) || *badge == "KPCurrentBadge")
      return operand + ": nothing is there";
  }
  return std::nullopt;
}

std::optional<std::string> MenuRequest::refresh() {
  thread_.check();
  std::optional<HostClient::MenuReply> reply;
  session_->client().askMenu(
      question_, [&reply](const HostClient::MenuReply& got) { reply = got; }, Clock::now());
  if (!session_->receiveUntil([&reply] { return reply.has_value(); }) ||
      reply->problem == HostClient::kNoAnswer)
    return "the extension does not answer; see: kelpie doctor";
  if (!reply->problem.empty()) return reply->problem;
  if (!reply->isThere && isSidebar_) return "a sidebar has no menu";
  if (!reply->isThere)
    return "there is no menu: the main application is not running; see: kelpie doctor";
  if (reply->items.empty()) return "the menu is empty: the PATHs lie in no open working copy";
  menu_ = reply->id;
  items_ = std::move(reply->items);
  return std::nullopt;
}

std::optional<std::string> MenuRequest::choose(const std::vector<std::size_t>& path,
                                               const std::string& choice) {
  thread_.check();
  std::optional<std::string> outcome;
  session_->client().choose(
      menu_, path, choice, [&outcome](const std::string& problem) { outcome = problem; },
      Clock::now());
  if (!session_->receiveUntil([&outcome] { return outcome.has_value(); }) ||
      *outcome == HostClient::kNoAnswer)
    return "the extension does not say whether the action was handed on";
  return outcome->empty() ? std::nullopt : outcome;
}

}  // namespace kelpie::cli
