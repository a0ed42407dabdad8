#pragma once

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "agent/git/GitSandbox.h"

namespace kelpie::agent {

// A working copy ("r" in a sandbox) that is changed at random: choices, and what changes need.
// Paths are relative to it, bytes. One thread.
class WorkTree {
 public:
  using Random = std::mt19937_64;

  // Makes the repository, of one of several layouts. `random` outlives this.
  explicit WorkTree(Random& random);

  const GitSandbox& sandbox() const { return sandbox_; }
  std::string operator/(std::string_view path) const;
  // The layout, and what was chosen for it, for people.
  const std::string& layout() const { return layout_; }

  // -- Choices ------------------------------------------------------------------------------------

  std::size_t below(std::size_t count) { return random_() % count; }
  bool chance(unsigned percent) { return below(100) < percent; }
  template <class List>
  auto oneOf(const List& all) {
    return all[below(std::size(all))];
  }
  // Files and links, and folders, without ".git" and what is in it; sorted.
  std::vector<std::string> files() const;
  std::vector<std::string> folders() const;  // the root ("") first
  // None that has another name as well where no watch looks: what is written there to the file
  // under this name goes unseen.
  std::optional<std::string> aFile();
  std::optional<std::string> aFolder();  // not the root
  std::string anyFolder() { return oneOf(folders()); }
  std::optional<std::string> aTrackedPath();
  // At which something may be or not, in a folder that is there.
  std::string aPath();
  std::string text();
  std::string patterns();

  // -- Changes ------------------------------------------------------------------------------------

  // All of them give up without a word where something is in the way.
  void write(const std::string& path, std::string_view content, bool append = false) const;
  void makeFolder(const std::string& path) const;
  void remove(const std::string& path) const;
  void rename(const std::string& from, const std::string& to) const;
  // Whether git did it.
  bool git(const Arguments& arguments, std::string_view folder = "") const;

  // The user's own list of ignored files has changed: no watch of the working copy tells of it.
  bool takeSettingsChange();
  void writeUserIgnores();

 private:
  bool isLinkedUnseen(const std::string& path) const;
  void walk(std::vector<std::string>* files, std::vector<std::string>* folders) const;
  void addLayout(unsigned percent, const char* name, const Arguments& arguments);

  GitSandbox sandbox_;
  Random& random_;
  std::string layout_;
  bool settingsChanged_ = false;
};

}  // namespace kelpie::agent
