#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "agent/git/WorkingCopy.h"
#include "support/TemporaryFolder.h"

namespace kelpie::agent {

// A working copy as far as files tell, in a folder of its own. A target makes one for all of its
// inputs. One thread.
class SampleCopy {
 public:
  struct File {
    std::string_view name;  // relative to the root
    std::string_view contents;
  };

  explicit SampleCopy(std::initializer_list<File> files);

  const std::string& root() const { return folder_.path(); }
  WorkingCopy workingCopy() const;
  void put(File file) const { folder_.addFile(file.name, file.contents); }
  // Writes ".git/HEAD" anew. What is so young may change unseen, so that a guard looks at the
  // settings again, however long ago the working copy was made.
  void renewHead() const;

 private:
  TemporaryFolder folder_;
};

}  // namespace kelpie::agent
