#include "MenuFixture.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "foundation/Dictionary.h"
#include "refs/KPRefsManager.h"
#include "support/References.h"

namespace kelpie {
namespace {

ReferenceFields fields(std::string_view name, std::string_view fullName, std::int64_t tag) {
  return {.name = std::string(name),
          .fullName = std::string(fullName),
          .oid = Bytes(20, 7),
          .tag = tag};
}

}  // namespace

MenuFixture::MenuFixture()
    : settings(system.platform()), host(system.events), repository(open("/repo")) {}

std::shared_ptr<KPRepository> MenuFixture::open(std::string_view root) {
  const URL url = system.files->addFolder(root);
  const URL gitUrl = system.files->addFolder(std::string(root) + "/.git");
  host.repositories.push_back(KPRepository::create(url, gitUrl, std::make_shared<ObservedPaths>(),
                                                   system.platform(), settings));
  return host.repositories.back();
}

void MenuFixture::setStatus(KPRepository& of, Words words) {
  Dictionary status;
  for (const auto& [path, word] : words) {
    const URL url = system.files->addFile(path);
    status.set(Object::orNil(url.identifier()), Objects{word, Object::path(path)});
  }
  of.setStatus(status);
}

std::vector<URL> MenuFixture::urls(std::initializer_list<std::string_view> paths) {
  std::vector<URL> made;
  for (const std::string_view path : paths) made.push_back(URL::fileURLWithPath(path));
  return made;
}

Object MenuFixture::list(std::initializer_list<std::string_view> paths) {
  const std::vector<URL> made = urls(paths);
  return Objects(made.begin(), made.end());
}

void MenuFixture::addReferences(KPRepository& of) {
  ReferenceFields head = fields("main", "refs/heads/main", 11);
  head.head = true;
  head.upstreamName = "refs/remotes/origin/main";
  const auto origin =
      makeFolder("origin", {makeLeaf(fields("origin/main", "refs/remotes/origin/main", 31))});
  const auto tree =
      makeReferencesTree({{},
                          {makeLeaf(head), makeLeaf(fields("topic", "refs/heads/topic", 12))},
                          {makeLeaf(fields("v1", "refs/tags/v1", 21))},
                          {origin},
                          {makeLeaf(fields("lib", "", 41))},
                          {makeLeaf(fields("fix", "", 51))}});
  KPRefsManager& references = *of.refsManager();
  references.setReferences(std::shared_ptr<const Archivable>(tree));
  references.setHeadBranch(makeReference(head));
  references.setStashes(Objects{"WIP"});
  references.setGitflowInfo(Dictionary{{"gitflow.branch.features", Objects{"feature/a"}},
                                       {"gitflow.branch.releases", Objects{"release/1"}},
                                       {"gitflow.branch.hotfixes", Objects{"hotfix/2"}}});
  references.setHasGitlfs(true);
}

}  // namespace kelpie
