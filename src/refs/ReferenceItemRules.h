#pragma once

#include <string>
#include <string_view>

namespace kelpie {

class KPReference;
struct ReferenceEntry;

// How a reference picker shows a reference, by the action that the item will send. Main thread.
struct ReferenceItemRule {
  // Asks about the item's own reference and the one that the menu was asked for, or null. A
  // comparison with an absent value is false.
  using Test = bool (*)(const ReferenceEntry& item, const KPReference* reference);
  // The title of the item.
  using Title = std::string (*)(const ReferenceEntry& item);

  std::string_view action;
  Test isOn;        // the item is marked
  Test isDisabled;  // the item is disabled, whatever isEnabled says
  Test isEnabled;   // otherwise the item is enabled when this holds
  Title title;
};

// The rule of the action with that name, or the common rule of all other actions.
const ReferenceItemRule& ruleForAction(std::string_view action);

}  // namespace kelpie
