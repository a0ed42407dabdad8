#include "support/MenuDescription.h"

#include "foundation/URL.h"

namespace kelpie {

std::string describe(const MenuItem& item) {
  std::string text = item.title;
  if (item.action) text += " > " + *item.action;
  if (item.tag != 0) text += " #" + std::to_string(item.tag);
  if (item.image) text += " [" + item.image->name + "]";
  if (item.state != 0) text += " (on)";
  if (!item.enabled) text += " (disabled)";
  if (!item.keyEquivalent.empty()) text += " (key " + item.keyEquivalent + ")";
  if (!item.representedObject.isNil()) text += " (object)";
  if (item.submenu != nullptr) {
    std::string entries;
    for (const std::string& entry : describe(*item.submenu)) {
      if (!entries.empty()) entries += " | ";
      entries += entry;
    }
    text += " {" + item.submenu->title + ": " + entries + "}";
  }
  return text;
}

std::string describe(const std::optional<MenuItem>& item) {
  return item ? describe(*item) : "(none)";
}

std::vector<std::string> describe(const Menu& menu) {
  std::vector<std::string> lines;
  lines.reserve(menu.items.size());
  for (const MenuItem& item : menu.items) lines.push_back(describe(item));
  return lines;
}

std::string namesOf(const Object& urls) {
  if (urls.isNil()) return "(nil)";
  std::string names;
  for (const Object& element : urls.elements()) {
    if (!names.empty()) names += " ";
    const std::optional<URL> url = element.url();
    names += url ? std::string(url->lastPathComponent()) : "(no URL)";
  }
  return names;
}

}  // namespace kelpie
