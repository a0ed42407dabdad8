#include "support/Script.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace kelpie {

namespace fs = std::filesystem;

void putScript(const std::string& path, std::string_view body) {
  const std::string made = path + ".made";
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  std::ofstream file(made, std::ios::binary);
  file << "#!/bin/sh\n" << body;
  file.close();
  EXPECT_TRUE(file) << path;
  fs::permissions(made, fs::perms::owner_all, error);
  fs::rename(made, path, error);
  EXPECT_FALSE(error) << path << ": " << error.message();
}

}  // namespace kelpie
