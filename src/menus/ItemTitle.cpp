#include "menus/ItemTitle.h"

#include <cstddef>
#include <optional>

#include "foundation/PrintableText.h"
#include "status/KPRepository.h"

namespace kelpie {
namespace {

// `format` with `value` in the place of the first `placeholder`. `value` itself is not searched.
std::string fill(std::string_view format, std::string_view placeholder, std::string_view value) {
  std::string text(format);
  const std::size_t at = text.find(placeholder);
  if (at != std::string::npos) text.replace(at, placeholder.size(), value);
  return text;
}

}  // namespace

std::string displayName(const URL& url) {
  std::string_view name = url.lastPathComponent();
  const auto suffix = KPRepository::deletedFilesSuffix();
  if (suffix && name.ends_with(*suffix)) name.remove_suffix(suffix->size());
  return printableTitle(name);
}

std::string titleForItems(std::string_view one, std::string_view many, std::string_view none,
                          const Object& urls) {
  switch (urls.size()) {
    case 0:
      return std::string(none);
    case 1: {
      const std::optional<URL> url = urls.at(0).url();
      return fill(one, "%@", url ? displayName(*url) : std::string());
    }
    default:
      return fill(many, "%lu", std::to_string(urls.size()));
  }
}

}  // namespace kelpie
