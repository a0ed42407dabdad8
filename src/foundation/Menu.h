#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Archivable.h"
#include "foundation/MenuItem.h"

namespace kelpie {

class KeyedDecoder;

// A menu as a plain value: what the core builds, and what each platform turns into its own.
class Menu : public Archivable {
 public:
  Menu() = default;
  explicit Menu(std::string menuTitle) : title(std::move(menuTitle)) {}

  std::string title;  // UTF-8; empty for all menus of this system but "More"
  std::vector<MenuItem> items;

  std::vector<std::string_view> classNames() const override;
  void encodeWithCoder(KeyedEncoder& coder) const override;
  static std::shared_ptr<const Archivable> decode(const KeyedDecoder& coder);
};

}  // namespace kelpie
