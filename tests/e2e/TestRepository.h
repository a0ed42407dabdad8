#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "e2e/ProcessHost.h"

namespace kelpie {

// A real git repository in the home folder of a session, whose git knows no settings but the
// session's.
class TestRepository {
 public:
  // A new one in the folder of that name, with a file "tracked" committed.
  TestRepository(ProcessHost& processes, const std::string& name);

  const std::string& path() const { return path_; }
  std::string operator/(std::string_view item) const { return path_ + "/" + std::string(item); }

  // Runs git in it; fails the test when git fails.
  void git(const std::vector<std::string>& arguments) const;
  void write(std::string_view item, std::string_view content) const;

  // Gives git an author, and keeps the machine's settings from it, in programs that are started
  // from now on.
  static void prepare(ProcessHost& processes);

 private:
  ProcessHost& processes_;
  std::string name_;
  std::string path_;
};

}  // namespace kelpie
