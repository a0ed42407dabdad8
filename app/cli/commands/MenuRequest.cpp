#include "cli/commands/MenuRequest.h"

#include <algorithm>
#include <utility>

#include "cli/text/FilePath.h"

namespace kelpie::cli {

// Where a menu stands, by the name that --kind gives it.
struct MenuRequest::Kind {
  std::string_view name;
  int number;          // on the host link
  bool isOfSelection;  // of the PATHs; else of the one folder that PATH names
  bool needsObserved;  // only asked for in observed folders
};

namespace {

using nlohmann::json;

constexpr std::int64_t kMenuId = 1;
constexpr std::int64_t kChoiceId = 2;
// An action may have to hand on much, such as the statuses of a long selection.
constexpr std::chrono::seconds kActionLimit(60);

}  // namespace

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
    const FilePath::Place place = FilePath::locate(operand);
    if (!place.exists) return operand + ": nothing is there";
    if (kind.needsObserved && !session_->isObserved(place.path))
      return operand + ": lies in no observed folder; see: kelpie folders";
    if (!kind.isOfSelection && !place.isFolder) return operand + ": is no folder";
    // The toolbar of a window without a selection speaks of the folder that the window shows.
    const bool isGround =
        !kind.isOfSelection || (kind.number == 3 && place.isFolder && operands.size() == 1);
    const std::string folder = isGround ? place.path : FilePath::parentOf(place.path);
    if (!targeted_) targeted_ = FilePath::urlOf(folder, true);
    if (!isGround) selected_.push_back(FilePath::urlOf(place.path, place.isFolder));
    // The working copy opens when its folder comes into view.
    if (session_->isObserved(folder)) badges_.showFolder(folder);
    if (session_->isObserved(place.path)) badges_.want(place.path, place.isFolder);
  }
  return std::nullopt;
}

std::optional<std::string> MenuRequest::open(const Kind& kind, std::chrono::milliseconds wait) {
  if (!badges_.settle(wait)) return "the extension has ended";
  const bool sent = session_->link().send({{"type", "menu"},
                                           {"id", kMenuId},
                                           {"kind", kind.number},
                                           {"selected", selected_},
                                           {"targeted", targeted_.value_or("")}});
  const auto answer =
      sent ? session_->await(kMenuId, {"menu", "error"}, ExtensionSession::kAnswerLimit)
           : std::nullopt;
  if (!answer) return "the extension does not answer; see: kelpie doctor";
  if (link::type(*answer) == "error")
    return "the extension refuses: " + link::text(*answer, "message");
  auto items = link::menu(*answer);
  if (!items && kind.name == "sidebar") return "a sidebar has no menu";
  if (!items) return "there is no menu: the main application is not running; see: kelpie doctor";
  if (items->empty()) return "the menu is empty: the PATHs lie in no open working copy";
  items_ = *std::move(items);
  return std::nullopt;
}

std::optional<std::string> MenuRequest::choose(const std::vector<std::size_t>& path) {
  const bool sent = session_->link().send(link::choose(kChoiceId, kMenuId, path));
  const auto answer =
      sent ? session_->await(kChoiceId, {"done", "error"}, kActionLimit) : std::nullopt;
  if (!answer) return "the extension does not say whether the action has run";
  if (link::type(*answer) == "error")
    return "the extension refuses: " + link::text(*answer, "message");
  return std::nullopt;
}

}  // namespace kelpie::cli
