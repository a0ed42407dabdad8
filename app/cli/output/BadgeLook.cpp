#include "cli/output/BadgeLook.h"

#include <algorithm>

#include "protocol/BadgeIdentifiers.h"

namespace kelpie::cli {
namespace {

constexpr BadgeLook kLooks[] = {
    {badge::kConflicted, "▲", "U", "conflicted", Colour::Red},
    {badge::kIgnored, "⊘", "!", "ignored", Colour::Dim},
    {badge::kWorkdirRenamed, "→", "r", "renamed", Colour::Magenta},
    {badge::kWorkdirTypeChanged, "↔", "t", "type changed", Colour::Yellow},
    {badge::kWorkdirDeleted, "−", "d", "deleted", Colour::Red},
    {badge::kWorkdirModified, "±", "m", "modified", Colour::Blue},
    {badge::kWorkdirNew, "?", "?", "untracked", Colour::Cyan},
    {badge::kIndexTypeChanged, "⇔", "T", "type changed, staged", Colour::Yellow},
    {badge::kIndexRenamed, "⇒", "R", "renamed, staged", Colour::Magenta},
    {badge::kIndexDeleted, "⊖", "D", "deleted, staged", Colour::Red},
    {badge::kIndexModified, "⊙", "M", "modified, staged", Colour::Blue},
    {badge::kIndexNew, "⊕", "A", "new, staged", Colour::Cyan},
    {badge::kCurrent, "✓", "=", "unchanged", Colour::Green},
};

constexpr BadgeLook kNone = {"", " ", " ", "no badge", Colour::Dim};
constexpr BadgeLook kUnknownLook = {"", "*", "*", "unknown badge", Colour::Plain};

}  // namespace

std::span<const BadgeLook> badgeLooks() { return kLooks; }

bool isBadge(std::string_view identifier) {
  return !identifier.empty() && identifier != badge::kEmpty;
}

const BadgeLook& badgeLook(std::string_view identifier) {
  if (!isBadge(identifier)) return kNone;
  const auto* found = std::ranges::find(kLooks, identifier, &BadgeLook::identifier);
  return found == std::end(kLooks) ? kUnknownLook : *found;
}

std::size_t widestLabel() {
  return std::ranges::max(kLooks, {}, [](const BadgeLook& look) { return look.label.size(); })
      .label.size();
}

std::string badgeText(const Console& console, std::string_view identifier, std::size_t width) {
  const BadgeLook& look = badgeLook(identifier);
  std::string text(console.isUtf8() ? look.glyph : look.ascii);
  text += ' ';
  text += look.label;
  std::string padded = console.paint(look.colour, text);
  if (look.label.size() < width) padded.append(width - look.label.size(), ' ');
  return padded;
}

}  // namespace kelpie::cli
