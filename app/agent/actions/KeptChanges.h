#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "agent/actions/PathPlan.h"
#include "agent/actions/PathSurvey.h"
#include "agent/git/GitCommand.h"
#include "agent/git/WorkingCopyFinder.h"
#include "foundation/Result.h"

namespace kelpie::agent {

// Changes that were put aside before an action destroyed them: a commit for each such action, kept
// from git's garbage collection by a reference "refs/kelpie/kept/<working tree>/<number>". In the
// commit's tree, "files/" has the content that the working folder had, byte for byte,
// "index/<stage>/" what was staged, and "state/" what else is needed to bring it back. Any thread;
// blocks while git works.
class KeptChanges {
 public:
  // The state of one path.
  struct Item {
    enum class Kind : char {
      File = 'F',
      Link = 'L',
      Clean = 'C',    // as the index had it
      Missing = 'M',  // nothing was there
      Left = 'D',     // the action does not touch what is there
      Lost = 'X',     // it could not be put aside
    };
    Kind kind = Kind::Left;
    std::uint32_t mode = 0;           // permissions
    bool isIntended = false;          // the index only knew that it is to be added
    std::optional<TreeEntry> target;  // what the action made of it
    std::vector<IndexEntry> index;
    std::string blob;  // of a file or link
    std::uint64_t size = 0;
  };
  struct Record {
    std::string reference;
    std::string oid;
    std::string label;  // what the action was called
    std::string head;   // the commit that was checked out, empty for none
    std::map<std::string, Item> items;
    // The files of the git directory that describe an unfinished merge or pick, by name.
    std::map<std::string, std::string> state;
  };

  // `git` may be that of any folder.
  KeptChanges(const GitCommand& git, WorkingCopy workingCopy)
      : git_(git.in(workingCopy.root)), workingCopy_(std::move(workingCopy)) {}

  // Puts aside what is at the plan's paths. Returns the record's `oid`, which is never used again.
  // Forgets the oldest when there are more than kMostRecords.
  Result<std::string> keep(const std::string& label, const PathPlan& plan,
                           const PathSurvey& survey) const;
  // The newest record of this working tree, nothing when there is none, or what went wrong.
  std::variant<std::optional<Record>, std::string> newest() const;
  // The content of blobs: calls `onBlob` with each, in that order, until it returns false. False
  // when that did, or when git does not tell.
  bool readBlobs(const std::vector<std::pair<std::string, std::uint64_t>>& blobs,
                 const std::function<bool(std::string_view)>& onBlob) const;
  ProgramResult forget(const Record& record) const;

  static constexpr std::size_t kMostRecords = 20;
  // The files of the git directory that `state` keeps, which a reset removes.
  static const std::vector<std::string>& stateFiles();

 private:
  std::string folder() const;  // of the references
  std::vector<std::string> references() const;

  GitCommand git_;
  WorkingCopy workingCopy_;
};

}  // namespace kelpie::agent
