#pragma once

#include <string>

#include "foundation/URL.h"

namespace kelpie {

// File managers name items folder by folder. While a run of them goes on in one folder, what was
// learned of that folder for the first serves for its neighbours. One thread at a time.
class FolderRun {
 public:
  // Whether the item lies in the same folder as the one before it, by the spelling of their paths.
  // False for the first, for "/", and for anything but a file URL.
  bool goesOnWith(const URL& item);

 private:
  std::string folder_;  // with its slash; empty when the item before has none
};

}  // namespace kelpie
