#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Image.h"
#include "foundation/Menu.h"
#include "foundation/URL.h"
#include "linux/hostlink/HostedExtension.h"
#include "platform/linux/LinuxFinderSyncController.h"

namespace kelpie {

// The lines of the host link: one JSON object on one line, UTF-8. docs/host-link.md has the
// protocol. All functions: any thread.
namespace hostlink {

inline constexpr int kVersion = 1;
inline constexpr std::size_t kMaximumLineLength = std::size_t{16} << 20U;
// How deep a line from a host may nest; the deepest that means something has 2 levels.
inline constexpr int kMaximumNesting = 16;

// The absolute path of the file of an image.
using ImageFile = std::function<std::string(const Image& image)>;

// The object of a line; missing when it is no JSON object or nests too deep.
std::optional<nlohmann::json> parse(std::string_view line);

// The file URL that `value` spells; missing for anything else, and for files of another machine.
std::optional<URL> fileURL(const nlohmann::json& value);

// "welcome": the answer to "hello".
nlohmann::json welcome(const HostedExtension& extension, const LinuxFinderSyncController& finder,
                       const ImageFile& imageFile);
// "directories": the observed folders are now these.
nlohmann::json directories(const std::vector<URL>& urls);
// "menu": the answer to the request `id`; null when there is no menu.
nlohmann::json menu(const nlohmann::json& id, const std::optional<Menu>& menu);
// "done": the action of the item chosen in the request `id` has run.
nlohmann::json done(const nlohmann::json& id);
// "error": `id` is the number of the line it is about, or null.
nlohmann::json error(const nlohmann::json& id, std::string_view message);

// The line of a message, its "\n" included.
std::string line(const nlohmann::json& message);

}  // namespace hostlink
}  // namespace kelpie
