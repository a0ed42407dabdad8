#include "foundation/MenuItem.h"

#include <string_view>
#include <utility>
#include <vector>

#include "foundation/KeyedCoder.h"
#include "foundation/Menu.h"

namespace kelpie {

namespace {

// AppKit's values for an item as this system makes them: the Command key alone (it has no effect
// without a key equivalent), and no mnemonic in the title.
constexpr std::int64_t kCommandKeyMask = 0x100000;
constexpr std::int64_t kNoMnemonic = 0x7fffffff;

}  // namespace

MenuItem::MenuItem(std::string itemTitle, std::optional<std::string> itemAction)
    : title(std::move(itemTitle)), action(std::move(itemAction)) {}

std::size_t MenuItem::textSize() const {
  return title.size() + keyEquivalent.size() + (action ? action->size() : 0);
}

std::vector<std::string_view> MenuItem::classNames() const { return {"NSMenuItem", "NSObject"}; }

// The image is left out: AppKit's form of one holds pixels or a path of this machine, and the
// receiver of a chosen item knows it by its tag, action and represented object.
void MenuItem::encodeWithCoder(KeyedEncoder& coder) const {
  coder.encodeObject("NSTitle", title);
  coder.encodeObject("NSAction", action ? Object(*action) : Object());
  coder.encodeObject("NSKeyEquiv", keyEquivalent);
  coder.encodeInteger("NSKeyEquivModMask", kCommandKeyMask);
  coder.encodeInteger("NSMnemonicLoc", kNoMnemonic);
  coder.encodeInteger("NSState", state);
  coder.encodeBool("NSIsDisabled", !enabled);
  // AppKit leaves out a tag of 0, and readers take an absent tag for 0.
  if (tag != 0) coder.encodeInteger("NSTag", tag);
  coder.encodeObject("NSSubmenu", Object(std::shared_ptr<const Archivable>(submenu)));
  coder.encodeObject("NSRepObject", representedObject);
  if (!choice.empty()) coder.encodeObject("KPChoice", choice);
}

std::shared_ptr<const Archivable> MenuItem::decode(const KeyedDecoder& coder) {
  auto item = std::make_shared<MenuItem>(coder.decodeObject("NSTitle").stringValue(),
                                         coder.decodeObject("NSAction").string());
  item->keyEquivalent = coder.decodeObject("NSKeyEquiv").stringValue();
  item->tag = coder.decodeInteger("NSTag");
  item->state = coder.decodeInteger("NSState") == 1 ? 1 : 0;
  item->enabled = !coder.decodeBool("NSIsDisabled");
  item->submenu = coder.decodeObject("NSSubmenu").as<Menu>();
  item->representedObject = coder.decodeObject("NSRepObject");
  item->choice = coder.decodeObject("KPChoice").stringValue();
  return item;
}

}  // namespace kelpie
