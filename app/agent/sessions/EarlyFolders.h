#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "foundation/ThreadBound.h"

namespace kelpie::agent {

// The folders of one working copy that an extension asked about before it knew the working copy.
//
// An extension that opens a working copy puts the items of its root alone under the new
// repository's care. What other folders show, several windows after a restart for example, would go
// without badges until it is shown again; so the extension is told to look at these folders again.
// It then asks about each once more, which is an echo: when the last has come back, whatever it
// asks about, it asks about with the repository at hand. What it is told to look at without having
// asked proves nothing: it may ask by itself meanwhile, which looks like the echo. Main thread.
class EarlyFolders {
 public:
  // `root` is the working folder, which needs no second look.
  explicit EarlyFolders(std::string root) : root_(std::move(root)) {}

  // The extension has asked about the folder (absolute, bytes). Whether that is an echo.
  bool isEcho(const std::string& folder);
  // What the extension shows of the folder it has seen without this working copy, though it may
  // know it by now: it is to look again.
  void lookAgain(const std::string& folder);
  // The extension knows the working copy now: the folders that it is to look at again.
  std::vector<std::string> take();
  // The extension may have missed what it was told: those that have not come back are taken again.
  void tellAgain();
  // The extension has forgotten the working copy.
  void reset();

  // Beyond these none is kept: an extension shows no more folders than people open windows.
  static constexpr std::size_t kMaximum = 4096;

 private:
  std::string root_;
  bool isEarly_ = true;
  // To be looked at again, and the echoes to come: whether the extension had asked by itself.
  std::map<std::string, bool> asked_;
  std::map<std::string, bool> echoes_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
