#include "platform/linux/LinuxBundle.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "Configuration.h"

namespace kelpie {

LinuxBundle::LinuxBundle(std::string imagesFolder) : imagesFolder_(std::move(imagesFolder)) {}

std::string LinuxBundle::installedImagesFolder() {
  std::error_code ignored;  // an empty path then, and so a folder that does not exist
  const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return program.parent_path().parent_path() / "share/kelpie/images";
}

std::string LinuxBundle::identifier() const { return std::string(kExtensionIdentifier); }

std::string LinuxBundle::applicationIdentifier() const {
  return std::string(kApplicationIdentifier);
}

std::optional<std::string> LinuxBundle::infoString(std::string_view key) const {
  if (key == "CFBundleIdentifier") return std::string(kExtensionIdentifier);
  if (key == "CFBundleVersion") return std::string(kVersion);
  return std::nullopt;
}

std::string LinuxBundle::imageFile(std::string_view name) const {
  return std::string(imagesFolder_).append("/").append(name).append(".svg");
}

}  // namespace kelpie
