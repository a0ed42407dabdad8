#include "agent/link/ReferenceMessages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "foundation/PrintableText.h"
#include "foundation/Text.h"
#include "protocol/ReferenceKeys.h"
#include "refs/KPPullRequests.h"
#include "refs/KPReference.h"
#include "refs/KPRemote.h"
#include "refs/KPSubmodule.h"
#include "refs/KPTreeNode.h"

namespace kelpie::agent {
namespace {

using Node = std::shared_ptr<const KPTreeNode>;

// Folders of folders in one section; what is nested deeper stands in the innermost as it is. Root,
// section and remote take three levels more of those that a tree may have.
constexpr std::size_t kMaximumFolders = KPTreeNode::kMaximumDepth - 8;

// The numbers that records carry for git's words; other words are 0, unless the field says
// otherwise.
struct NumberOfWord {
  std::string_view word;
  std::int64_t number;
};
constexpr std::array<NumberOfWord, 3> kAutotag = {{{"", 1}, {"--no-tags", 2}, {"--tags", 3}}};
constexpr std::array<NumberOfWord, 5> kIgnore = {
    {{"", -1}, {"none", 1}, {"untracked", 2}, {"dirty", 3}, {"all", 4}}};
constexpr std::array<NumberOfWord, 4> kUpdate = {
    {{"checkout", 1}, {"rebase", 2}, {"merge", 3}, {"none", 4}}};
constexpr std::array<NumberOfWord, 5> kRecurse = {
    {{"true", 1}, {"yes", 1}, {"on", 1}, {"1", 1}, {"on-demand", 2}}};

template <std::size_t N>
std::int64_t numberOf(std::string_view word, const std::array<NumberOfWord, N>& table) {
  const auto* found = std::ranges::find(table, word, &NumberOfWord::word);
  return found == table.end() ? 0 : found->number;
}

std::optional<std::string> textOrNone(const std::string& bytes) {
  if (bytes.empty()) return std::nullopt;
  return displayText(bytes);
}

int hexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

// Absent for an empty text and for anything but an object id.
std::optional<Bytes> oidBytes(std::string_view hex) {
  if (hex.empty() || hex.size() % 2 != 0) return std::nullopt;
  Bytes bytes;
  bytes.reserve(hex.size() / 2);
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const int high = hexDigit(hex[i]);
    const int low = hexDigit(hex[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
  }
  return bytes;
}

std::shared_ptr<const KPReference> recordOf(const Reference& reference) {
  auto record = std::make_shared<KPReference>(static_cast<std::int64_t>(reference.kind),
                                              printableTitle(reference.shortName));
  record->setFullName(displayText(reference.fullName));
  record->setOid(oidBytes(reference.oid));
  record->setHead(reference.isHead);
  record->setDetached(reference.isDetached);
  record->setUpstreamName(textOrNone(printableTitle(reference.upstream)));
  record->setTag(reference.number);
  return record;
}

std::shared_ptr<const KPReference> recordOf(const Remote& remote) {
  const auto texts = [](const std::vector<std::string>& all) {
    Objects shown;
    shown.reserve(all.size());
    for (const std::string& each : all) shown.emplace_back(displayText(each));
    return shown;
  };
  auto record = std::make_shared<KPRemote>(printableTitle(remote.name));
  record->setUrl(textOrNone(remote.url));
  record->setPushUrl(textOrNone(remote.pushUrl.empty() ? remote.url : remote.pushUrl));
  record->setFetchRefspecs(texts(remote.fetchRefspecs));
  record->setPushRefspecs(texts(remote.pushRefspecs));
  record->setAutotag(numberOf(remote.tagOption, kAutotag));
  record->setSkipFetchAll(remote.skipFetchAll);
  return record;
}

std::shared_ptr<const KPReference> recordOf(const Submodule& submodule) {
  auto record = std::make_shared<KPSubmodule>(printableTitle(submodule.name));
  record->setOid(oidBytes(submodule.oid));
  record->setUrl(textOrNone(submodule.url));
  record->setPath(textOrNone(submodule.path));
  record->setRecurse(numberOf(submodule.fetchRecurse, kRecurse));
  record->setIgnore(numberOf(submodule.ignore, kIgnore));
  record->setUpdate(numberOf(submodule.update, kUpdate));
  return record;
}

std::shared_ptr<const KPReference> recordOf(const PullRequest& request) {
  auto record = std::make_shared<KPPullRequests>(printableTitle(request.title));
  record->setFullName(displayText(request.fullName));
  record->setOid(oidBytes(request.oid));
  return record;
}

std::shared_ptr<const KPReference> folderRecord(std::string_view name) {
  return std::make_shared<KPReference>(KPReferenceType::kPlain, printableTitle(name));
}

// Nests references, which come sorted by name, in folders.
class FolderBuilder {
 public:
  // `base` is the part of every name that makes no folder, such as a remote's name and its slash.
  explicit FolderBuilder(std::size_t base) : base_(base) { open_.emplace_back(); }

  void add(const Reference& reference) {
    const std::string_view name = reference.shortName;
    while (open_.size() > 1 && !name.starts_with(open_.back().prefix)) close();
    while (open_.size() <= kMaximumFolders) {
      const std::size_t start = open_.size() == 1 ? base_ : open_.back().prefix.size();
      const std::size_t slash = name.find('/', start);
      if (slash == std::string_view::npos) break;
      open_.push_back({std::string(name.substr(0, slash + 1)), {}});
    }
    open_.back().children.push_back(KPTreeNode::create(recordOf(reference)));
  }

  KPTreeNode::Children finish() && {
    while (open_.size() > 1) close();
    return std::move(open_.front().children);
  }

 private:
  struct Folder {
    std::string prefix;  // with the slash
    KPTreeNode::Children children;
  };

  void close() {
    Folder folder = std::move(open_.back());
    open_.pop_back();
    const std::string_view prefix = folder.prefix;
    open_.back().children.push_back(KPTreeNode::create(
        folderRecord(prefix.substr(0, prefix.size() - 1)), std::move(folder.children)));
  }

  std::size_t base_;
  std::vector<Folder> open_;  // the first one is the section or remote itself
};

Node section(std::string_view name, KPTreeNode::Children children) {
  return KPTreeNode::create(folderRecord(name), std::move(children));
}

KPTreeNode::Children nested(const std::vector<Reference>& references) {
  FolderBuilder builder(0);
  for (const Reference& reference : references) builder.add(reference);
  return std::move(builder).finish();
}

KPTreeNode::Children remotes(const ReferencesSnapshot& snapshot) {
  std::vector<FolderBuilder> builders;
  for (const Remote& remote : snapshot.remotes) builders.emplace_back(remote.name.size() + 1);
  for (const Reference& branch : snapshot.remoteBranches)
    if (const Remote* remote = snapshot.remoteOf(branch))
      builders[static_cast<std::size_t>(remote - snapshot.remotes.data())].add(branch);
  KPTreeNode::Children nodes;
  for (std::size_t i = 0; i < builders.size(); ++i)
    nodes.push_back(
        KPTreeNode::create(recordOf(snapshot.remotes[i]), std::move(builders[i]).finish()));
  return nodes;
}

template <class Item>
KPTreeNode::Children leaves(const std::vector<Item>& items) {
  KPTreeNode::Children nodes;
  for (const Item& item : items) nodes.push_back(KPTreeNode::create(recordOf(item)));
  return nodes;
}

Object texts(const std::vector<std::string>& all) {
  Objects objects;
  for (const std::string& each : all) objects.emplace_back(printableTitle(each));
  return objects;
}

}  // namespace

Object referencesObject(const ReferencesSnapshot& snapshot) {
  KPTreeNode::Children sections;
  sections.push_back(KPTreeNode::create(nullptr));  // nobody reads the first one
  sections.push_back(section(kLocalBranchesTitle, nested(snapshot.branches)));
  sections.push_back(section(kTagsTitle, nested(snapshot.tags)));
  sections.push_back(section(kRemotesTitle, remotes(snapshot)));
  sections.push_back(section(kSubmodulesTitle, leaves(snapshot.submodules)));
  sections.push_back(section(kPullRequestsTitle, leaves(snapshot.pullRequests)));
  return std::shared_ptr<const Archivable>(KPTreeNode::create(nullptr, std::move(sections)));
}

Object stashesObject(const ReferencesSnapshot& snapshot) {
  Objects titles;
  for (const Stash& stash : snapshot.stashes) titles.emplace_back(printableTitle(stash.title));
  return titles;
}

Object gitflowObject(const ReferencesSnapshot& snapshot) {
  if (!snapshot.gitflow) return {};
  const Gitflow& flow = *snapshot.gitflow;
  return Dictionary{{kGitflowMasterKey, printableTitle(flow.master)},
                    {kGitflowDevelopKey, printableTitle(flow.develop)},
                    {kGitflowFeaturesKey, texts(flow.features)},
                    {kGitflowReleasesKey, texts(flow.releases)},
                    {kGitflowHotfixesKey, texts(flow.hotfixes)}};
}

Object headBranchObject(const ReferencesSnapshot& snapshot) {
  if (!snapshot.headBranch) return {};
  return std::shared_ptr<const Archivable>(recordOf(*snapshot.headBranch));
}

}  // namespace kelpie::agent
