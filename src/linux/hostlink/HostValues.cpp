#include "linux/hostlink/HostValues.h"

#include <array>

namespace kelpie::hostlink {
namespace {

// Every image that a menu can bear, by the name that it has in an item.
constexpr std::array kMenuImages = {"ApplicationIcon", "BranchImage", "TagImage"};

// Menus nest as deep as reference names do, which the references bound.
std::vector<Item> itemsOf(const Menu& menu) {
  std::vector<Item> items;
  items.reserve(menu.items.size());
  for (const MenuItem& from : menu.items) {
    Item& item = items.emplace_back();
    item.title = from.title;
    item.action = from.action;
    item.tag = from.tag;
    item.isTicked = from.state != 0;
    item.isEnabled = from.enabled;
    if (from.image) item.image = from.image->name;
    item.hasSubmenu = from.submenu != nullptr;
    if (!item.hasSubmenu) continue;
    item.submenuTitle = from.submenu->title;
    item.submenu = itemsOf(*from.submenu);
  }
  return items;
}

}  // namespace

std::optional<URL> fileURL(const std::string& text) {
  auto url = URL::fromString(text);
  if (!url || !url->isFileURL()) return std::nullopt;
  // As nearly all are spelled; anything else is taken apart once more.
  if (!text.starts_with("file:///")) {
    const std::string host = url->host();
    if (!host.empty() && host != "localhost") return std::nullopt;
  }
  // A path that is not absolute, or holds a zero byte, names no file.
  const std::string& path = url->path();
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  return url;
}

std::vector<std::string> textsOf(const std::vector<URL>& urls) {
  std::vector<std::string> texts;
  texts.reserve(urls.size());
  for (const URL& url : urls) texts.push_back(url.absoluteString());
  return texts;
}

Welcome welcomeOf(const FinderSync& extension, const LinuxFinderSyncController& finder,
                  const ImageFile& imageFile) {
  Welcome welcome;
  const FinderSync::ToolbarItem toolbar = extension.toolbarItem();
  welcome.toolbarName = toolbar.name;
  welcome.toolbarToolTip = toolbar.toolTip;
  welcome.toolbarImage = imageFile(toolbar.image);
  for (const auto& [identifier, badge] : finder.badges())
    welcome.badges[identifier] = {imageFile(badge.image), badge.label};
  for (const char* name : kMenuImages) welcome.images[name] = imageFile(Image{name});
  welcome.directories = textsOf(finder.directoryURLs());
  return welcome;
}

MenuAnswer answerOf(const Number& id, const std::optional<Menu>& menu) {
  if (!menu) return {id, false, {}, {}};
  return {id, true, menu->title, itemsOf(*menu)};
}

}  // namespace kelpie::hostlink
