#include "status/UrlList.h"

#include <optional>

#include "foundation/URL.h"

namespace kelpie {

UrlList::UrlList(const ObjectView& array) {
  if (array.kind() != Object::Kind::Array) return;
  array.forEachElement([this](ObjectView element) {
    ++count_;
    const std::optional<URL> url = element.url();
    if (!url) return true;
    text_ += url->path();
    ends_.push_back(text_.size());
    isFile_.push_back(url->isFileURL());
    return true;
  });
  text_.shrink_to_fit();
  ends_.shrink_to_fit();
}

std::string_view UrlList::path(std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
  const std::string_view text = text_;
  return text.substr(begin, ends_[index] - begin);
}

}  // namespace kelpie
