#pragma once

#include <string>
#include <string_view>

namespace kelpie {

// Where programs are looked for by their names. An entry of PATH that is empty or relative stands
// for a place in whatever folder a program happens to run in, which may be a repository's: nothing
// is to be found there.
class SearchPath {
 public:
  SearchPath() = delete;

  // The absolute entries, in their order; the system's usual folders where there is none.
  static std::string absolute(std::string_view path);
  // Leaves only those in this process's PATH, and so in that of all that it starts. Before there
  // are other threads.
  static void clean();
};

}  // namespace kelpie
