#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelpie {

// What git says of one working copy, and the badges that follow from that. An account of its own:
// it reads git's words and the file system by itself and uses nothing of the programs under test,
// so that both are wrong only where both were made wrong. One thread.
class GitTruth {
 public:
  // What an item is shown as; the order means nothing.
  enum class Kind {
    Current,
    IndexNew,
    IndexModified,
    IndexDeleted,
    IndexRenamed,
    IndexTypeChanged,
    WorkdirNew,
    WorkdirModified,
    WorkdirDeleted,
    WorkdirRenamed,
    WorkdirTypeChanged,
    Ignored,
    Conflicted,
  };

  // Whether the extension knows that an unchanged file is there: it counts in the badges of the
  // folders above it only if it was asked for before the last status came in.
  enum class Knowledge { Maybe, Yes };
  using Knows = std::function<Knowledge(const std::string& path)>;

  // What to run in the root; its output is what the constructor reads.
  static const std::vector<std::string>& command();

  // `root` is absolute; `status` is what the command printed just now.
  GitTruth(std::string root, const std::string& status);

  // Output that was not understood; empty as a rule.
  const std::string& problem() const { return problem_; }
  // Whether git said the same.
  bool saysTheSame(const GitTruth& other) const { return status_ == other.status_; }
  const std::string& status() const { return status_; }

  // The badge of an item in the working copy that is there, at an absolute path: an identifier, or
  // the empty string for none. Two where the rules leave it open.
  std::set<std::string> badgesOf(const std::string& path, const Knows& knows) const;

 private:
  struct Entry {
    Kind kind = Kind::Current;
    bool isFolder = false;
  };
  using Counts = std::map<Kind, std::size_t>;
  // What lies in a folder.
  struct Contents {
    Counts counts;
    std::size_t unchanged = 0;  // that count for certain
    bool maybeMore = false;     // one at least that may count
  };

  void parse();
  void parseLine(std::string_view line, std::string_view renamedFrom);
  void addChange(std::string_view letters, bool isFolder, const std::string& path);
  void addOther(Kind kind, std::string path);
  bool isThere(const std::string& path) const;
  bool isInIgnored(const std::string& path) const;
  bool isDirty(const std::string& folder) const;
  void addContents(const std::string& folder, const Knows& knows, Contents& contents) const;
  std::set<std::string> badgesOfFolder(const std::string& folder, const Knows& knows) const;

  std::string root_;
  std::string status_;
  std::string problem_;
  // All by path relative to the root.
  std::map<std::string, Entry> present_;
  std::multimap<std::string, Entry> gone_;
  std::set<std::string> ignoredFolders_;
};

}  // namespace kelpie
