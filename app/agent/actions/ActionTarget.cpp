#include "agent/actions/ActionTarget.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "agent/git/ReferencesReader.h"
#include "foundation/PrintableText.h"
#include "foundation/Text.h"
#include "protocol/ReferenceKeys.h"

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

constexpr const char* kChanged =
    "It is not there any more, or has changed since the menu was shown. Nothing was done.";
constexpr const char* kUnknown = "What is there to choose from could not be read.";

using Failure = std::string;  // empty: none

struct KindsOfSubject {
  ActionSubject subject;
  std::array<bool, 3> allowed;  // local branch, remote branch, tag
};
constexpr std::array<KindsOfSubject, 6> kReferenceSubjects = {{
    {ActionSubject::LocalBranch, {true, false, false}},
    {ActionSubject::RemoteBranch, {false, true, false}},
    {ActionSubject::Tag, {false, false, true}},
    {ActionSubject::BranchOrTag, {true, false, true}},
    {ActionSubject::Reference, {true, true, true}},
    {ActionSubject::FilesAndReference, {true, true, true}},
}};

const KindsOfSubject* kindsOf(ActionSubject subject) {
  const auto* found = std::ranges::find(kReferenceSubjects, subject, &KindsOfSubject::subject);
  return found == kReferenceSubjects.end() ? nullptr : found;
}

bool allows(const KindsOfSubject& kinds, ReferenceKind kind) {
  switch (kind) {
    case ReferenceKind::LocalBranch:
      return kinds.allowed[0];
    case ReferenceKind::RemoteBranch:
      return kinds.allowed[1];
    case ReferenceKind::Tag:
      return kinds.allowed[2];
  }
  return false;
}

// Finds one part of the target after the other.
class TargetFinder {
 public:
  TargetFinder(const ActionRequest& request, const ActionContext& context, const GitCommand& git)
      : request_(request), context_(context), git_(git) {}

  Failure find(ActionSubject subject);
  ActionTarget take() && { return std::move(target_); }

 private:
  Failure findFiles(bool mayBeNone);
  Failure findReference(const KindsOfSubject& kinds);
  Failure findEntry(ActionSubject subject);
  // The entry of the list at the tag's position, when it bears the title: a menu's message says
  // nothing else about an entry, and a position alone names another entry as soon as the list
  // changes.
  template <class Item, class Name>
  Failure entry(const std::vector<Item>& list, Name name, std::optional<Item>& into);

  const ActionRequest& request_;
  const ActionContext& context_;
  const GitCommand& git_;
  ActionTarget target_;
};

Failure TargetFinder::find(ActionSubject subject) {
  switch (subject) {
    case ActionSubject::None:
      return {};
    case ActionSubject::Files:
      return findFiles(false);
    case ActionSubject::FilesOrNone:
      return findFiles(true);
    default:
      break;
  }
  if (const KindsOfSubject* kinds = kindsOf(subject)) {
    if (subject == ActionSubject::FilesAndReference)
      if (Failure why = findFiles(false); !why.empty()) return why;
    return findReference(*kinds);
  }
  return findEntry(subject);
}

Failure TargetFinder::findFiles(bool mayBeNone) {
  if (request_.paths.empty() && !mayBeNone) return "There are no files to work on.";
  for (const std::string& path : request_.paths) {
    std::optional<std::string> within = pathWithin(context_.workingCopy.root, path);
    if (!within)
      return "\"" + printableText(path) + "\" is not in the working copy. Nothing was done.";
    target_.paths.push_back(*std::move(within));
  }
  target_.name = target_.paths.size() == 1 ? "\"" + printableText(target_.paths.front()) + "\""
                                           : std::to_string(target_.paths.size()) + " items";
  return {};
}

Failure TargetFinder::findReference(const KindsOfSubject& kinds) {
  const Reference* found = context_.references == nullptr
                               ? nullptr
                               : context_.references->referenceWithNumber(request_.tag);
  if (found == nullptr || !allows(kinds, found->kind)) return kChanged;
  const ProgramResult there =
      git_.ask({"rev-parse", "--verify", "--quiet", "--end-of-options", found->fullName});
  if (!there.succeeded()) return kChanged;
  target_.reference = *found;
  target_.name = "\"" + printableText(found->shortName) + "\"";
  return {};
}

template <class Item, class Name>
Failure TargetFinder::entry(const std::vector<Item>& list, Name name, std::optional<Item>& into) {
  if (request_.tag < 0 || static_cast<std::uint64_t>(request_.tag) >= list.size()) return kChanged;
  const Item& item = list[static_cast<std::size_t>(request_.tag)];
  if (printableTitle(std::invoke(name, item)) != request_.title) return kChanged;
  into = item;
  target_.name = "\"" + printableText(std::invoke(name, item)) + "\"";
  return {};
}

Failure TargetFinder::findEntry(ActionSubject subject) {
  const std::shared_ptr<const ReferencesSnapshot> references = referencesOf(context_, git_);
  if (references == nullptr) return kUnknown;
  switch (subject) {
    case ActionSubject::Stash:
      return entry(references->stashes, &Stash::title, target_.stash);
    case ActionSubject::RemoteOrAll:
      if (request_.tag == kAllRemotesTag) {
        target_.name = "all remotes";
        return references->remotes.empty() ? kChanged : Failure();
      }
      [[fallthrough]];
    case ActionSubject::Remote:
      return entry(references->remotes, &Remote::name, target_.remote);
    case ActionSubject::Submodule:
      return entry(references->submodules, &Submodule::name, target_.submodule);
    case ActionSubject::PullRequest:
      return entry(references->pullRequests, &PullRequest::title, target_.pullRequest);
    default:
      break;
  }
  if (!references->gitflow) return kChanged;
  const Gitflow& flow = *references->gitflow;
  std::optional<std::string> branch;
  Failure why = entry(subject == ActionSubject::Feature   ? flow.features
                      : subject == ActionSubject::Release ? flow.releases
                                                          : flow.hotfixes,
                      std::identity(), branch);
  target_.branch = branch.value_or("");
  return why;
}

}  // namespace

std::variant<ActionTarget, std::string> findTarget(const ActionRequest& request,
                                                   const ActionContext& context,
                                                   ActionSubject subject, const GitCommand& git) {
  TargetFinder finder(request, context, git);
  if (Failure why = finder.find(subject); !why.empty()) return why;
  return std::move(finder).take();
}

std::shared_ptr<const ReferencesSnapshot> referencesOf(const ActionContext& context,
                                                       const GitCommand& git) {
  if (context.references != nullptr) return context.references;
  const ReferencesReader::Reading reading = ReferencesReader(git, context.workingCopy).read();
  const auto* read = std::get_if<std::shared_ptr<const ReferencesSnapshot>>(&reading);
  return read == nullptr ? nullptr : *read;
}

std::optional<std::string> pathWithin(const std::string& root, const std::string& path) {
  const fs::path given(path);
  std::error_code error;
  if (path == root || fs::canonical(given, error) == root) return ".";
  const fs::path folder = fs::weakly_canonical(given.parent_path(), error);
  const fs::path name = given.filename();
  if (error || !given.is_absolute() || name.empty() || name == ".." || name == ".")
    return std::nullopt;
  const std::string real = (folder / name).string();
  const std::string prefix = root.ends_with('/') ? root : root + "/";
  if (!real.starts_with(prefix) || real.size() == prefix.size()) return std::nullopt;
  return real.substr(prefix.size());
}

}  // namespace kelpie::agent
