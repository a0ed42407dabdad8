#include "status/UrlList.h"

#include <optional>

#include "foundation/URL.h"

namespace kelpie {

UrlList::UrlList(const ObjectView& array) {
  if (array.kind() != Object::Kind::Array) return;
  paths_.reserve(array.plausibleSize());
  array.forEachElement([this](ObjectView element) {
    ++count_;
    const std::optional<URL> url = element.url();
    if (!url) return true;
    paths_.push_back(text_.add(url->path()));
    isFile_.push_back(url->isFileURL());
    return true;
  });
  paths_.shrink_to_fit();
}

}  // namespace kelpie
