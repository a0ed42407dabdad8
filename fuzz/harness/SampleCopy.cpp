#include "harness/SampleCopy.h"

namespace kelpie::agent {

SampleCopy::SampleCopy(std::initializer_list<File> files) {
  for (const File& file : files) put(file);
}

WorkingCopy SampleCopy::workingCopy() const {
  const std::string git = folder_ / ".git";
  return {root(), git, git, false};
}

void SampleCopy::renewHead() const { put({".git/HEAD", "ref: refs/heads/main\n"}); }

}  // namespace kelpie::agent
