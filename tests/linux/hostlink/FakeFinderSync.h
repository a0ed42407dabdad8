#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/FinderSync.h"
#include "platform/linux/LinuxFinderSyncController.h"

namespace kelpie {

// An extension that writes down what a host makes it do. Its menus are what the test sets.
class FakeFinderSync final : public FinderSync {
 public:
  explicit FakeFinderSync(LinuxFinderSyncController& finder) : finder_(finder) {}

  std::vector<std::string> calls;
  std::map<std::uint64_t, Menu> menus;  // by kind
  std::set<std::string> knownActions;   // what performAction() knows
  bool raises = false;                  // menus and actions raise std::invalid_argument

  ToolbarItem toolbarItem() const override { return {"KElpie", "", Image{"StatusItemIcon"}}; }

  void beginObservingDirectoryAtURL(const URL& url) override { note("begin", url); }
  void endObservingDirectoryAtURL(const URL& url) override { note("end", url); }
  void requestBadgeIdentifierForURL(const URL& url) override { note("badge", url); }

  std::optional<Menu> menuForMenuKind(FIMenuKind menuKind) override {
    const auto kind = static_cast<std::uint64_t>(menuKind);
    std::string call = "menu " + std::to_string(kind);
    for (const URL& url : finder_.selectedItemURLs()) call += " " + url.absoluteString();
    if (finder_.targetedURL()) call += " on " + finder_.targetedURL()->absoluteString();
    calls.push_back(call);
    if (raises) throw std::invalid_argument("a value is missing");
    const auto found = menus.find(kind);
    return found == menus.end() ? std::nullopt : std::optional(found->second);
  }

  bool performAction(const MenuItem& item) override {
    calls.push_back("perform " + item.action.value_or("") + " " + item.title);
    if (raises) throw std::invalid_argument("a value is missing");
    return knownActions.contains(item.action.value_or(""));
  }

 private:
  void note(const char* what, const URL& url) {
    calls.push_back(std::string(what) + " " + url.absoluteString());
  }

  LinuxFinderSyncController& finder_;
};

}  // namespace kelpie
