#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "e2e/GitSession.h"

namespace kelpie {

// A working copy that is changed at random: what a change needs to find something to change. All
// choices follow from the random numbers that it is given. Paths are relative to the root and are
// bytes. One thread.
class Playground {
 public:
  using Random = std::mt19937_64;

  // Both outlive this. `root` is the absolute path of a folder in the session's home.
  Playground(const GitSession& session, std::string root, Random& random);

  const std::string& root() const { return root_; }
  std::string operator/(std::string_view path) const;

  // -- Choices ------------------------------------------------------------------------------------

  // 0 … count - 1; `count` is above 0.
  std::size_t below(std::size_t count);
  bool chance(unsigned percent) { return below(100) < percent; }
  template <class T>
  const T& oneOf(const std::vector<T>& all) {
    return all[below(all.size())];
  }

  // Files, links among them, and folders, without what git keeps; sorted.
  std::vector<std::string> files() const;
  std::vector<std::string> folders() const;  // the root ("") first
  // Absent when there is none.
  std::optional<std::string> aFile();
  std::optional<std::string> aPlainFile();  // no link
  std::optional<std::string> aTrackedFile();
  std::optional<std::string> aFolder();  // not the root
  std::string anyFolder();               // or the root
  // A path at which nothing is, in a folder that is there; half of the names are unusual.
  std::string newPath() { return newPathIn(anyFolder()); }
  std::string newPathIn(const std::string& folder);
  std::string text();

  // -- Files --------------------------------------------------------------------------------------

  void write(const std::string& path, std::string_view content, bool append = false) const;
  std::string read(const std::string& path) const;
  void addFolder(const std::string& path) const;
  void remove(const std::string& path) const;  // with all that it holds
  bool rename(const std::string& from, const std::string& to) const;

  // -- Git ----------------------------------------------------------------------------------------

  // Whether git did it.
  bool git(const std::vector<std::string>& arguments) const;
  // What it printed.
  std::string ask(const std::vector<std::string>& arguments) const;
  // The fields of what it printed with -z.
  std::vector<std::string> list(const std::vector<std::string>& arguments) const;
  // Commits everything, so that what follows starts from a clean working copy. False when that
  // fails.
  bool settle();
  bool isUnderWay(std::string_view name) const;  // .git has something of that name

  const GitSession& session() const { return session_; }

 private:
  void walk(const std::string& folder, std::vector<std::string>* files,
            std::vector<std::string>* folders) const;

  const GitSession& session_;
  const std::string root_;
  Random& random_;
};

// A kind of change.
struct ChangeKind {
  std::string_view name;
  unsigned weight = 1;  // how often, compared with others
  // False when there was nothing to change so.
  bool (*apply)(Playground& place);
};

std::span<const ChangeKind> fileChanges();
std::span<const ChangeKind> folderChanges();
std::span<const ChangeKind> gitChanges();
std::span<const ChangeKind> historyChanges();

}  // namespace kelpie
