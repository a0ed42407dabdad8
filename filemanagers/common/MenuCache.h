#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <optional>

#include "common/ShownMenu.h"
#include "linux/hostclient/HostClient.h"

namespace kelpie::filemanagers {

// The menus of the last selections. A file manager wants a menu at once, each time that the
// selection changes and long before anybody looks at it: it gets what is known, and the extension
// is asked in the background. One thread.
class MenuCache {
 public:
  using Time = HostClient::Time;

  static constexpr std::size_t kMaximumMenus = 16;
  // For so long an answer is not asked for again: a file manager that is told of a new menu asks
  // for it at once.
  static constexpr std::chrono::milliseconds kFresh{1'000};
  // How long after a change of badges the menu that was shown last is asked for again.
  static constexpr std::chrono::milliseconds kQuiet{150};
  // Beyond so many selected items there is no menu.
  static constexpr std::size_t kMaximumSelection = 2'000;

  // `client` outlives this. `onChanged` is called when the menu that was shown last is another now.
  MenuCache(HostClient& client, std::function<void()> onChanged)
      : client_(client), onChanged_(std::move(onChanged)) {}
  MenuCache(const MenuCache&) = delete;
  MenuCache& operator=(const MenuCache&) = delete;

  // The menu as far as it is known, null when no answer came yet; asks for it where that is due.
  // Empty when there is none.
  std::shared_ptr<const ShownMenu> show(const HostClient::MenuQuestion& question, Time now);
  // The same without asking.
  std::shared_ptr<const ShownMenu> find(const HostClient::MenuQuestion& question) const;
  // Whether an answer is on its way.
  bool isAsking(const HostClient::MenuQuestion& question) const;

  // The badges have changed, and so may have the menus.
  void invalidate(Time now);
  // Nothing is known any more, as after the end of the connection.
  void clear();

  void tick(Time now);
  // When to call tick() next; missing when nothing is due.
  std::optional<Time> wakeAt() const { return refreshAt_; }

 private:
  struct Entry {
    HostClient::MenuQuestion question;
    std::shared_ptr<const ShownMenu> menu;  // null until the first answer
    Time answered{};
    bool isStale = false;
    bool isAsking = false;
  };

  Entry* entryOf(const HostClient::MenuQuestion& question);
  void ask(Entry& entry, Time now);
  void take(const HostClient::MenuQuestion& question, const HostClient::MenuReply& reply, Time now);

  HostClient& client_;
  std::function<void()> onChanged_;
  std::list<Entry> entries_;  // the one that was shown last first
  std::optional<Time> refreshAt_;
  // Answers come late, also when this has gone.
  std::shared_ptr<MenuCache*> self_ = std::make_shared<MenuCache*>(this);
};

}  // namespace kelpie::filemanagers
