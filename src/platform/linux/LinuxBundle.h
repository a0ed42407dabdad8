#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Bundle.h"

namespace kelpie {

// The extension's names and version as this build was configured, and its files. Any thread.
class LinuxBundle final : public Bundle {
 public:
  // `imagesFolder` holds the images: an absolute path.
  explicit LinuxBundle(std::string imagesFolder);

  // "../share/kelpie/images" beside the folder of the running program: so it is found wherever the
  // programs were installed, and in the folder they were built in.
  static std::string installedImagesFolder();

  std::string identifier() const override;
  std::string applicationIdentifier() const override;
  // "CFBundleIdentifier" and "CFBundleVersion".
  std::optional<std::string> infoString(std::string_view key) const override;
  bool hasSystemSymbols() const override { return false; }

  // The file of a named image, absolute; it need not exist.
  std::string imageFile(std::string_view name) const;

 private:
  std::string imagesFolder_;
};

}  // namespace kelpie
