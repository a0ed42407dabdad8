#include "extension/RepositoryRoutes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "extension/ControllerFixture.h"
#include "extension/Portrait.h"
#include "refs/KPRefsManager.h"
#include "refs/ReferenceClasses.h"
#include "status/KPBadge.h"
#include "status/KPRepository.h"
#include "support/References.h"

namespace kelpie {
namespace {

// An open repository with a changed and a staged file, all of which is told apart.
class RepositoryRoutes : public ControllerFixture {
 protected:
  void SetUp() override {
    registerReferenceClasses();
    startWithApplication();
    controller->beginObservingDirectoryAtURL(fakes.files->addFolder("/disk/repo"));
    fakes.runAll();
    root = openRepository("/disk/repo");
    repository = repositoryOf(*root);
    file = fakes.files->addFile("/disk/repo/file");
    staged = fakes.files->addFile("/disk/repo/staged");
    repository->setStatus(statusOf({{*file, 0x0100}, {*staged, 0x0002}}));
    fakes.finder.forgetBadges();
  }

  Dictionary statusOf(const std::vector<std::pair<URL, int>>& words) const {
    Dictionary status;
    for (const auto& [url, word] : words) status.set(identifierOf(url), Objects{word, url.path()});
    return status;
  }

  std::string wordOf(const URL& url) const {
    const std::optional<StatusWord> word = repository->statusOfItemAtURL(url);
    return word ? std::to_string(*word) : "none";
  }

  static std::string textOf(const UrlList& list) {
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < list.size(); ++i) paths.emplace_back(list.path(i));
    return joinedTexts(paths);
  }

  Portrait portrait() const {
    const KPRefsManager& references = *repository->refsManager();
    const std::optional<URL> git = repository->gitUrl();
    const auto shown = controller->allObservedFiles()->find(identifierOf(*root));
    return {
        {"state", std::to_string(repository->state())},
        {"dirty", yesOrNo(repository->isDirty())},
        {"really dirty", yesOrNo(repository->isRealDirty())},
        {"disabled", yesOrNo(repository->isDisabled())},
        {"identifier", Object::orNil(repository->identifier()).description()},
        {"git directory", git ? git->path() : "none"},
        {"made for deleted items", repository->createdDirectoriesForDeletedItems().description()},
        {"changed", textOf(*repository->dirtyUrls())},
        {"ignored", textOf(*repository->ignoredUrls())},
        {"deleted", textOf(*repository->deletedUrls())},
        {"word of the file", wordOf(*file)},
        {"word of the staged file", wordOf(*staged)},
        {"badge of the file", fakes.finder.badgeFor("/disk/repo/file").value_or("none")},
        {"badge of the staged file", fakes.finder.badgeFor("/disk/repo/staged").value_or("none")},
        {"asked about", shown != nullptr ? joinedTexts(shown->paths()) : "nothing"},
        {"references", yesOrNo(references.references() != nullptr)},
        {"stashes",
         std::to_string(references.stashes().value_or(std::vector<std::string>()).size())},
        {"git-flow", references.gitflowInfo().description()},
        {"head branch", yesOrNo(references.headBranch() != nullptr)},
        {"bare", yesOrNo(references.isBare())},
        {"Git-LFS", yesOrNo(references.hasGitlfs())},
        {"head commit", yesOrNo(references.hasHeadCommit())},
    };
  }

  // What a message of that selector makes otherwise.
  Portrait changesBy(std::string_view selector, const Object& argument) {
    const Portrait before = portrait();
    handle(selector, argument, identifierOf(*root));
    fakes.runAll();
    return changesOf(before, portrait());
  }

  std::optional<URL> root;
  std::optional<URL> file;
  std::optional<URL> staged;
  std::shared_ptr<KPRepository> repository;
};

Object urlAt(std::string_view path) { return URL::fileURLWithPath(path); }
Objects urlsAt(std::string_view path) { return {urlAt(path)}; }

struct RepositoryEffect {
  std::string_view selector;
  Object argument;
  Portrait changes;
};

void PrintTo(const RepositoryEffect& effect, std::ostream* stream) { *stream << effect.selector; }

// One for each operation; what is not told to change must stay.
std::vector<RepositoryEffect> repositoryEffects() {
  const std::string modified(KPBadge::kWorkdirModified);
  const std::string indexModified(KPBadge::kIndexModified);
  const auto tree = makeReferencesTree({{}, {makeLeaf({.name = "main"})}});
  return {
      {"setStatusInfo:",
       Dictionary{{"KPRepositoryState", 7}, {"KPStatusDirtyURLs", urlsAt("/disk/repo/file")}},
       {{"state", "7"},
        {"dirty", "yes"},
        {"really dirty", "yes"},
        {"changed", "/disk/repo/file"},
        {"word of the file", "none"},
        {"word of the staged file", "none"}}},
      {"updateStagedStatus:",
       urlsAt("/disk/repo/file"),
       {{"word of the file", "2"}, {"badge of the file", indexModified}}},
      {"updateUnstagedStatus:",
       urlsAt("/disk/repo/staged"),
       {{"word of the staged file", "256"}, {"badge of the staged file", modified}}},
      {"updateBadges:",
       Dictionary{{"urls", urlsAt("/disk/repo/file")}, {"badge", "B"}},
       {{"badge of the file", "B"}}},
      {"addObservedURL:",
       urlAt("/disk/repo/file"),
       {{"badge of the file", modified}, {"asked about", "/disk/repo/file"}}},
      {"updateBadgeIdentifierForURL:", urlAt("/disk/repo/file"), {{"badge of the file", modified}}},
      // As a folder without a changed item in it.
      {"updateStatusOfDirectoryURL:",
       urlAt("/disk/repo/file"),
       {{"word of the file", "0"}, {"badge of the file", std::string(KPBadge::kCurrent)}}},
      {"setReferences:", std::shared_ptr<const Archivable>(tree), {{"references", "yes"}}},
      {"setStashes:", Objects{"one", "two"}, {{"stashes", "2"}}},
      {"setGitflowInfo:",
       Dictionary{{"a", 1}},
       {{"git-flow", Object(Dictionary{{"a", 1}}).description()}}},
      {"setHeadBranch:",
       std::shared_ptr<const Archivable>(makeReference({.name = "main"})),
       {{"head branch", "yes"}}},
      {"setBare:", true, {{"bare", "yes"}}},
      {"setHasGitlfs:", true, {{"Git-LFS", "yes"}}},
      {"setHasHeadCommit:", true, {{"head commit", "yes"}}},
      {"setIdentifier:", "another", {{"identifier", Object("another").description()}}},
      {"setGitUrl:", urlAt("/disk/git"), {{"git directory", "/disk/git"}}},
      {"setState:", 42, {{"state", "42"}}},
      {"setStatus:",
       Dictionary(),
       {{"word of the file", "none"}, {"word of the staged file", "none"}}},
      {"setDirty:", true, {{"dirty", "yes"}}},
      {"setRealDirty:", true, {{"really dirty", "yes"}}},
      {"setDisabled:", true, {{"disabled", "yes"}}},
      {"setCreatedDirectoriesForDeletedItems:",
       urlsAt("/made"),
       {{"made for deleted items", Object(urlsAt("/made")).description()}}},
      {"setDirtyUrls:", urlsAt("/dirty"), {{"changed", "/dirty"}}},
      {"setIgnoredUrls:", urlsAt("/ignored"), {{"ignored", "/ignored"}}},
      {"setDeletedUrls:", urlsAt("/deleted"), {{"deleted", "/deleted"}}},
  };
}

class EveryRepositoryOperation : public RepositoryRoutes,
                                 public testing::WithParamInterface<RepositoryEffect> {};

TEST_P(EveryRepositoryOperation, ChangesWhatItIsForAndNothingElse) {
  EXPECT_EQ(changesBy(GetParam().selector, GetParam().argument), GetParam().changes);
}

INSTANTIATE_TEST_SUITE_P(Routes, EveryRepositoryOperation, testing::ValuesIn(repositoryEffects()),
                         [](const auto& test) {
                           std::string name(test.param.selector);
                           name.pop_back();
                           return name;
                         });

TEST(RepositoryOperations, AreAllTestedForTheirEffect) {
  std::set<std::string_view> tested;
  for (const RepositoryEffect& effect : repositoryEffects()) tested.insert(effect.selector);
  for (const Route<KPRepository>& route : repositoryRoutes().operations)
    EXPECT_EQ(tested.erase(route.selector), 1U) << route.selector;
  EXPECT_TRUE(tested.empty()) << *tested.begin();
}

TEST_F(RepositoryRoutes, ANameWithoutEffectChangesNothing) {
  for (const std::string_view name : repositoryRoutes().withoutEffect)
    for (const Object& argument : {Object(), Object(1), Object(*file), Object("text")})
      EXPECT_EQ(changesBy(name, argument), Portrait()) << name;
}

// -- What the property setters take ---------------------------------------------------------------

TEST_F(RepositoryRoutes, TheStateIsTheWholeNumber) {
  EXPECT_EQ(changesBy("setState:", 7.9), (Portrait{{"state", "7"}}));
  EXPECT_EQ(changesBy("setState:", "text"), (Portrait{{"state", "0"}}));
}

TEST_F(RepositoryRoutes, AFlagIsSetByWhatCountsAsTrue) {
  const std::pair<std::string_view, std::string> flags[] = {
      {"setDirty:", "dirty"},       {"setRealDirty:", "really dirty"},
      {"setDisabled:", "disabled"}, {"setBare:", "bare"},
      {"setHasGitlfs:", "Git-LFS"}, {"setHasHeadCommit:", "head commit"}};
  for (const auto& [selector, name] : flags) {
    for (const Object& yes : {Object(true), Object(1), Object(-3), Object(0.5)}) {
      EXPECT_EQ(changesBy(selector, yes), (Portrait{{name, "yes"}})) << yes.description();
      EXPECT_EQ(changesBy(selector, false), (Portrait{{name, "no"}}));
    }
    for (const Object& no : {Object(0), Object(), Object(Objects{1})}) {
      EXPECT_EQ(changesBy(selector, true), (Portrait{{name, "yes"}}));
      EXPECT_EQ(changesBy(selector, no), (Portrait{{name, "no"}})) << no.description();
    }
  }
}

TEST_F(RepositoryRoutes, GitflowAndTheHeadBranchAreGoneWhereTheMessageHasNone) {
  const auto head = std::shared_ptr<const Archivable>(makeReference({.name = "main"}));
  changesBy("setGitflowInfo:", Dictionary{{"a", 1}});
  changesBy("setHeadBranch:", head);
  EXPECT_EQ(changesBy("setGitflowInfo:", "text"), (Portrait{{"git-flow", Object().description()}}));
  EXPECT_EQ(changesBy("setHeadBranch:", "main"), (Portrait{{"head branch", "no"}}));
}

}  // namespace
}  // namespace kelpie
