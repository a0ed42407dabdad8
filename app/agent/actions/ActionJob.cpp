#include "agent/actions/ActionJob.h"

#include <cstddef>
#include <utility>
#include <variant>

#include "agent/desktop/Askpass.h"
#include "agent/desktop/DesktopTools.h"
#include "agent/git/StatusReader.h"

namespace kelpie::agent {
namespace {

constexpr const char* kCannotAsk =
    "This must be confirmed or answered first, and there is no way to ask: neither zenity nor "
    "kdialog is there, or there is no display. Nothing was done.";
constexpr const char* kNoDisplay = "There is no display to open a window on.";

GitCommand gitOf(const GitCommand& git, const ActionRequest& request,
                 const ActionContext& context) {
  if (request.kind() == ActionKind::Creation && !request.paths.empty())
    return git.in(request.paths.front());
  return context.workingCopy.root.empty() ? git.in("/") : git.within(context.workingCopy);
}

// The question with the subject's name in it.
std::string filled(std::string_view question, const std::string& name) {
  std::string text(question);
  if (const std::size_t at = text.find("%@"); at != std::string::npos) text.replace(at, 2, name);
  return text;
}

}  // namespace

ActionJob::ActionJob(ActionRequest request, ActionContext context,
                     std::shared_ptr<const Means> means)
    : request_(std::move(request)),
      context_(std::move(context)),
      means_(std::move(means)),
      git_(gitOf(means_->git, request_, context_)
               .withVariables(Askpass::variables(context_.action))),
      terminal_(rule().terminal) {}

ActionOutcome ActionJob::run() {
  // For changes that are not made by git as well; each change by git checks again.
  if (const std::string why = git_.objection(); !why.empty())
    return ActionOutcome::failed(why + " Nothing was done.");
  std::variant<ActionTarget, std::string> found =
      findTarget(request_, context_, rule().subject, git_);
  if (const auto* why = std::get_if<std::string>(&found)) return ActionOutcome::failed(*why);
  target_ = std::get<ActionTarget>(std::move(found));
  if (!rule().question.empty())
    if (std::optional<ActionOutcome> no = refused(filled(rule().question, target_.name)))
      return *no;
  return carryOut();
}

ActionOutcome ActionJob::carryOut() {
  if (rule().work != nullptr) return rule().work(*this);
  if (!rule().window.empty()) return openWindow(rule().window);
  const std::optional<Arguments> arguments =
      ToolCommands::fill(ToolCommands::wordsOf(rule().git), values());
  if (!arguments) return ActionOutcome::failed("The menu item names nothing to work on.");
  if (!target_.paths.empty()) return changePaths(*arguments, target_.paths);
  return change(*arguments);
}

const ReferencesSnapshot* ActionJob::references() {
  context_.references = referencesOf(context_, git_);
  return context_.references.get();
}

const StatusSnapshot* ActionJob::status() {
  return context_.status != nullptr ? context_.status.get() : freshStatus();
}

const StatusSnapshot* ActionJob::freshStatus() {
  const StatusReader::Reading reading = StatusReader(means_->git, context_.workingCopy).read();
  const auto* status = std::get_if<std::shared_ptr<const StatusSnapshot>>(&reading);
  if (status == nullptr) return nullptr;
  context_.status = *status;
  return context_.status.get();
}

bool ActionJob::hasHeadCommit() const {
  return git_.ask({"rev-parse", "--verify", "--quiet", "HEAD^{commit}"}).succeeded();
}

std::string ActionJob::spokenName() const {
  const Reference& reference = *target_.reference;
  if (reference.shortName.starts_with('-')) return reference.fullName;
  const ProgramResult meant = git_.ask({"rev-parse", "--symbolic-full-name", "--verify", "--quiet",
                                        "--end-of-options", reference.shortName});
  const bool same = meant.succeeded() && meant.output == reference.fullName + "\n";
  return same ? reference.shortName : reference.fullName;
}

ActionOutcome ActionJob::change(const Arguments& arguments) const {
  return ActionOutcome::of(git_.change(arguments));
}

ActionOutcome ActionJob::changePaths(const Arguments& arguments,
                                     const std::vector<std::string>& paths,
                                     GitCommand::Paths how) const {
  return ActionOutcome::of(git_.changePaths(arguments, paths, how));
}

std::optional<ActionOutcome> ActionJob::refused(const std::string& question) const {
  const Dialogs::Answer answer = Dialogs::confirm(question, std::string(rule().label));
  if (answer.given()) return std::nullopt;
  return unanswered(answer);
}

ActionOutcome ActionJob::unanswered(const Dialogs::Answer& answer) const {
  return answer.end == Dialogs::End::Unavailable ? ActionOutcome::failed(kCannotAsk)
                                                 : ActionOutcome::cancelled();
}

ToolCommands::Values ActionJob::values() const {
  ToolCommands::Values values;
  values.root = git_.folder();
  values.paths = target_.paths;
  values.configurationFolder = means_->configurationFolder;
  if (target_.reference) {
    values.fullName = target_.reference->fullName;
    values.name = target_.reference->shortName;
    values.oid = target_.reference->oid;
  }
  if (target_.stash) values.oid = target_.stash->oid;
  if (target_.remote) values.name = target_.remote->name;
  return values;
}

ActionOutcome ActionJob::openWindow(std::string_view fallback) const {
  return openWindow(fallback, target_.paths);
}

ActionOutcome ActionJob::openWindow(std::string_view fallback,
                                    const std::vector<std::string>& paths,
                                    const std::string& address) const {
  if (!Dialogs::hasDisplay() && !means_->tools.isOverridden(rule().action))
    return ActionOutcome::failed(kNoDisplay);
  ToolCommands::Values all = values();
  all.paths = paths;
  all.address = address;
  const std::vector<std::string>* own = means_->tools.own(rule().action);
  const auto lack =
      DesktopTools::lackOf(own != nullptr ? *own : ToolCommands::wordsOf(fallback), git_);
  if (lack && own != nullptr) return ActionOutcome::failed(*lack);
  if (lack) return openTerminal(*lack, all);
  std::optional<ProgramCall> call = means_->tools.call(rule().action, fallback, all);
  if (!call) return ActionOutcome::failed("The menu item names nothing to show.");
  return ActionOutcome::opens({*std::move(call)});
}

ActionOutcome ActionJob::openTerminal(const std::string& lack,
                                      const ToolCommands::Values& values) const {
  if (terminal_.empty()) return ActionOutcome::failed(lack);
  const std::vector<std::string>* own = means_->tools.own("terminal");
  const auto terminal = own != nullptr ? std::optional(*own) : DesktopTools::terminal();
  if (!terminal)
    return ActionOutcome::failed(lack + " There is no terminal either in which \"" +
                                 std::string(terminal_.substr(0, terminal_.find(" -- "))) +
                                 "\" could run; the package xterm brings one.");
  const auto command = ToolCommands::fill(ToolCommands::wordsOf(terminal_), values);
  if (!command) return ActionOutcome::failed("The menu item names nothing to show.");
  return ActionOutcome::opens({ToolCommands::callOf(
      DesktopTools::shownInTerminal(*terminal, values.root, *command), values)});
}

ActionOutcome ActionJob::openWindowIn(const std::string& folder, std::string_view fallback) const {
  ActionOutcome outcome = openWindow(fallback);
  for (ProgramCall& window : outcome.windows) window.folder = folder;
  return outcome;
}

}  // namespace kelpie::agent
