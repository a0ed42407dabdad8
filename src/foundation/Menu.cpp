#include "foundation/Menu.h"

#include <memory>
#include <utility>

#include "foundation/KeyedCoder.h"

namespace kelpie {

std::vector<std::string_view> Menu::classNames() const { return {"NSMenu", "NSObject"}; }

void Menu::encodeWithCoder(KeyedEncoder& coder) const {
  Objects itemObjects;
  itemObjects.reserve(items.size());
  for (const MenuItem& item : items)
    itemObjects.emplace_back(std::make_shared<const MenuItem>(item));
  coder.encodeObject("NSTitle", title);
  coder.encodeObject("NSMenuItems", Object(std::move(itemObjects)).mutableCopy());
}

std::shared_ptr<const Archivable> Menu::decode(const KeyedDecoder& coder) {
  auto menu = std::make_shared<Menu>(coder.decodeObject("NSTitle").stringValue());
  coder.decodeElements("NSMenuItems", [&](const Object& element) {
    const auto item = element.as<MenuItem>();
    // A list that grows holds each of its items up to three times.
    if (item != nullptr && coder.charge(3 * sizeof(MenuItem) + item->textSize()))
      menu->items.push_back(*item);
  });
  return menu;
}

}  // namespace kelpie
