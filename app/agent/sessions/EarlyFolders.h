#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "foundation/ThreadBound.h"

namespace kelpie::agent {

// The folders of one working copy that an extension asked about before it knew the working copy.
//
// An extension that opens a working copy hands only the items of its root to the new repository.
// Items in other folders, such as those of several windows after a restart, would have no badges
// until they are shown again; so the extension is told to look at these folders again. It then asks
// about each folder once more, which is an echo. When the last echo has come back, the extension
// knows the repository, and every later question counts. A folder that it was told to look at
// without having asked proves nothing: it may ask by itself meanwhile, which looks like the echo.
// Main thread.
class EarlyFolders {
 public:
  // `root` is the working folder, which needs no second look.
  explicit EarlyFolders(std::string root) : root_(std::move(root)) {}

  // The extension has asked about the folder (absolute, bytes). Whether that is an echo.
  bool isEcho(const std::string& folder);
  // The extension has shown the folder without knowing this working copy, though it may know it by
  // now: it is to look again.
  void lookAgain(const std::string& folder);
  // The extension knows the working copy now. Returns the folders that it is to look at again, and
  // expects their echoes.
  std::vector<std::string> beginSecondLooks();
  // The extension may have missed messages: it is to look at the folders without an echo once more.
  void tellAgain();
  // The extension has forgotten the working copy.
  void reset();

  // The most folders that are kept: an extension shows no more folders than people open windows.
  static constexpr std::size_t kMaximum = 4096;

 private:
  std::string root_;
  bool isEarly_ = true;
  // The folders to be looked at again, and the echoes to come; true if the extension had asked by
  // itself.
  std::map<std::string, bool> asked_;
  std::map<std::string, bool> echoes_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
