#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Image.h"
#include "foundation/Menu.h"
#include "foundation/URL.h"
#include "platform/FinderSync.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "protocol/hostlink/HostLines.h"

// The core's values as the lines of the host link hold them, and back. Any thread.
namespace kelpie::hostlink {

// The absolute path of the file of an image.
using ImageFile = std::function<std::string(const Image& image)>;

// The file URL that the text spells; absent for anything else, and for files of another machine.
std::optional<URL> fileURL(const std::string& text);
std::vector<std::string> textsOf(const std::vector<URL>& urls);

Welcome welcomeOf(const FinderSync& extension, const LinuxFinderSyncController& finder,
                  const ImageFile& imageFile);
// The answer to the request `id`; without a menu it says that there is none.
MenuAnswer answerOf(const Number& id, const std::optional<Menu>& menu);

}  // namespace kelpie::hostlink
