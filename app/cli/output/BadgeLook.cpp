#include "cli/output/BadgeLook.h"

#include <algorithm>

namespace kelpie::cli {
namespace {

constexpr BadgeLook kLooks[] = {
    {"KPConflictedBadge", "▲", "U", "conflicted", Colour::Red},
    {"KPIgnoredBadge", "⊘", "!", "ignored", Colour::Dim},
    {"KPWorkdirRenamedBadge", "→", "r", "renamed", Colour::Magenta},
    {"KPWorkdirTypeChangedBadge", "↔", "t", "type changed", Colour::Yellow},
    {"KPWorkdirDeletedBadge", "−", "d", "deleted", Colour::Red},
    {"KPWorkdirModifiedBadge", "±", "m", "modified", Colour::Blue},
    {"KPWorkdirNewBadge", "?", "?", "untracked", Colour::Cyan},
    {"KPIndexTypeChangedBadge", "⇔", "T", "type changed, staged", Colour::Yellow},
    {"KPIndexRenamedBadge", "⇒", "R", "renamed, staged", Colour::Magenta},
    {"KPIndexDeletedBadge", "⊖", "D", "deleted, staged", Colour::Red},
    {"KPIndexModifiedBadge", "⊙", "M", "modified, staged", Colour::Blue},
    {"KPIndexNewBadge", "⊕", "A", "new, staged", Colour::Cyan},
    {"KPCurrentBadge", "✓", "=", "unchanged", Colour::Green},
};

constexpr BadgeLook kNone = {"", " ", " ", "no badge", Colour::Dim};
constexpr BadgeLook kUnknown = {"", "*", "*", "unknown badge", Colour::Plain};
// What the extension sets on items that must stay bare.
constexpr std::string_view kEmptyBadge = "KPEmptyBadge";

}  // namespace

std::span<const BadgeLook> badgeLooks() { return kLooks; }

bool isBadge(std::string_view identifier) {
  return !identifier.empty() && identifier != kEmptyBadge;
}

const BadgeLook& badgeLook(std::string_view identifier) {
  if (!isBadge(identifier)) return kNone;
  const auto* found = std::ranges::find(kLooks, identifier, &BadgeLook::identifier);
  return found == std::end(kLooks) ? kUnknown : *found;
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
