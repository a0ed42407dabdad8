#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace kelpie {

TemporaryFolder::TemporaryFolder(const std::string& parent)
    : path_(std::filesystem::canonical(parent) / "kelpie-XXXXXX") {
  if (::mkdtemp(path_.data()) == nullptr) ADD_FAILURE() << "no temporary folder in " << parent;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::operator/(std::string_view name) const {
  return std::string(path_).append("/").append(name);
}

std::string TemporaryFolder::addFolder(std::string_view name) const {
  std::string path = *this / name;
  std::filesystem::create_directories(path);
  return path;
}

std::string TemporaryFolder::addFile(std::string_view name, std::string_view contents) const {
  std::string path = *this / name;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << contents;
  file.close();
  EXPECT_TRUE(file) << path;
  return path;
}

std::string TemporaryFolder::addLink(std::string_view name, std::string_view target) const {
  std::string path = *this / name;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::filesystem::create_symlink(target, path);
  return path;
}

}  // namespace kelpie
