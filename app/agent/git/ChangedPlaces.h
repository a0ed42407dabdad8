#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace kelpie::agent {

// Where in a working copy something has changed: entries of its folders, each of which stands for
// itself and for all below it. Paths are bytes, relative to the root. Takes bounded memory, however
// much changes: what does not fit is counted as a change of the folder around it. A value; one
// thread.
class ChangedPlaces {
 public:
  // The names of one folder that are kept apart, and the folders that have any.
  static constexpr std::size_t kMostNames = 32;
  static constexpr std::size_t kMostFolders = 64;

  struct Entries {
    std::set<std::string, std::less<>> names;
    // More have changed than were kept: the whole folder counts. `names` is empty then.
    bool areMany = false;
  };

  static ChangedPlaces everything();

  // Something at the path, or below it, has changed. The empty path stands for everything.
  void add(std::string_view path);
  void add(const ChangedPlaces& other);
  void addEverything();

  bool isEmpty() const { return !isEverything_ && folders_.empty(); }
  // Nothing is known of where; folders() is empty then.
  bool isEverything() const { return isEverything_; }
  // The changed entries by their folder, "" for the root. An entry may lie below another one.
  const std::map<std::string, Entries, std::less<>>& folders() const { return folders_; }

 private:
  bool covers(std::string_view path) const;
  void addName(std::string_view folder, std::string_view name);
  void addWholeFolder(std::string_view folder);
  // Counts the deepest folders as changed entries of those above them.
  void liftDeepest();

  std::map<std::string, Entries, std::less<>> folders_;
  bool isEverything_ = false;
};

}  // namespace kelpie::agent
