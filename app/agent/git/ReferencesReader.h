#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/git/GitCommand.h"
#include "agent/git/GitConfig.h"
#include "agent/git/ReferenceNumbers.h"
#include "agent/git/ReferenceParser.h"
#include "agent/git/ReferencesSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"

namespace kelpie::agent {

// Reads the references of one repository. Any thread, but one reading at a time; blocks while git
// works. It remembers the numbers that it has given to references.
class ReferencesReader {
 public:
  ReferencesReader(const GitCommand& git, WorkingCopy workingCopy)
      : git_(git.in(workingCopy.root)), workingCopy_(std::move(workingCopy)) {}

  // The references, or why there are none, in git's words.
  using Reading = std::variant<std::shared_ptr<const ReferencesSnapshot>, std::string>;
  Reading read(GCancellable* cancellable = nullptr);

 private:
  // Each fills a part of the snapshot; returns an empty text, or why it could not.
  std::string readReferences(ReferencesSnapshot& into, bool& hasStash);
  std::string readHead(ReferencesSnapshot& into);
  void readStashes(ReferencesSnapshot& into);
  void readPullRequests(ReferencesSnapshot& into);
  void readSubmodules(ReferencesSnapshot& into);
  void addReference(ListedReference listed, ReferencesSnapshot& into);
  bool usesGitlfs() const;
  ProgramResult ask(const Arguments& arguments) const;

  GitCommand git_;
  WorkingCopy workingCopy_;
  ReferenceNumbers numbers_;
  GCancellable* cancellable_ = nullptr;  // of the reading under way
};

}  // namespace kelpie::agent
