#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/Object.h"

namespace kelpie {

// The repositories whose own programs git may run when one is looked at, by the paths of their
// working folders, as the shared settings hold them under kTrustedRepositoriesKey. A value.
class TrustedRepositories {
 public:
  // Elements that are not absolute paths are skipped.
  static TrustedRepositories fromObject(const Object& list);
  Object toObject() const;

  // In the order in which they were added. Bytes, without a trailing slash.
  const std::vector<std::string>& paths() const { return paths_; }
  // False when the path is there already, or is not there.
  bool add(const std::string& path);
  bool remove(std::string_view path);

 private:
  std::vector<std::string> paths_;
};

}  // namespace kelpie
