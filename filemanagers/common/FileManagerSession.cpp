#include "common/FileManagerSession.h"

#include <algorithm>
#include <utility>

#include "common/BadgeEmblems.h"

namespace kelpie::filemanagers {
namespace {

std::string folderOf(const std::string& path) { return std::string(ViewedItems::folderOf(path)); }

}  // namespace

FileManagerSession::FileManagerSession(const std::string& host, Handlers handlers,
                                       AskedPaths::Resolver resolver)
    : handlers_(std::move(handlers)),
      asked_(std::move(resolver)),
      client_(host, {[this] {
                       handlers_.onFoldersChanged();
                       handlers_.onOutput();
                     },
                     [this] {
                       handlers_.onFoldersChanged();
                       handlers_.onOutput();
                     },
                     [this](const std::vector<std::string>& paths) { takeBadges(paths); }}),
      menus_(client_, [this] { handlers_.onMenusChanged(); }) {}

// -- The connection -------------------------------------------------------------------------------

void FileManagerSession::received(std::string_view bytes, Time now) {
  now_ = now;
  client_.received(bytes, now);
}

void FileManagerSession::connectionFailed(Time now) {
  now_ = now;
  client_.connectionFailed(now);
  menus_.clear();
}

void FileManagerSession::ended(Time now) {
  now_ = now;
  client_.ended(now);
  menus_.clear();
}

void FileManagerSession::tick(Time now) {
  now_ = now;
  client_.tick(now);
  menus_.tick(now);
}

std::optional<FileManagerSession::Time> FileManagerSession::wakeAt() const {
  const auto client = client_.wakeAt();
  const auto menus = menus_.wakeAt();
  if (!client || !menus) return client ? client : menus;
  return std::min(*client, *menus);
}

// -- Items ----------------------------------------------------------------------------------------

FileManagerSession::Look FileManagerSession::show(Token token, const std::string& path,
                                                  bool isFolder) {
  const std::string asked = asked_.ofItem(path);
  if (const std::string before = items_.track(token, asked); before != asked) {
    if (!before.empty()) visited_.removeItem(folderOf(before));
    visited_.addItem(folderOf(asked));
  }
  items_.settle(token);
  client_.want(asked, isFolder);
  handlers_.onOutput();
  Look look = lookOf(asked);
  TrackedItems::Item& item = items_.item(token);
  // The file manager may have put the emblem that it got in between beside the one that it gets
  // now, and clears both when it asks once more.
  item.mustRenew = std::exchange(item.isAdded, false) && item.emblem != look.emblem;
  item.emblem = look.emblem;
  if (item.mustRenew) {
    items_.changeOne(token);
    handlers_.onItemsChanged();
  }
  return look;
}

std::optional<FileManagerSession::Change> FileManagerSession::takeChange() {
  while (const auto* const token = items_.takeChanged()) {
    TrackedItems::Item& item = items_.item(token);
    if (item.mustRenew) return Change{token, false, {}};
    Look look = lookOf(item.path);
    if (look.emblem == item.emblem) continue;
    if (!item.emblem.empty()) return Change{token, false, {}};
    item.emblem = look.emblem;
    item.isAdded = true;
    return Change{token, true, std::move(look)};
  }
  return std::nullopt;
}

void FileManagerSession::showAllAgain() {
  items_.changeAll();
  if (items_.hasChanged()) handlers_.onItemsChanged();
}

void FileManagerSession::forget(Token token) {
  const std::string asked = items_.forget(token);
  if (!asked.empty()) visited_.removeItem(folderOf(asked));
}

FileManagerSession::Look FileManagerSession::look(const std::string& path) {
  return lookOf(asked_.ofItem(path));
}

FileManagerSession::Look FileManagerSession::lookOf(const std::string& asked) const {
  const auto badge = client_.badge(asked);
  if (!badge) return {};
  Look look{emblemOf(*badge), {}};
  const auto& badges = client_.welcome().badges;
  if (const auto known = badges.find(*badge); known != badges.end())
    look.label = known->second.label;
  return look;
}

void FileManagerSession::takeBadges(const std::vector<std::string>& paths) {
  items_.change(paths);
  menus_.invalidate(now_);
  if (items_.hasChanged()) handlers_.onItemsChanged();
}

// -- Folders --------------------------------------------------------------------------------------

void FileManagerSession::enter(const std::string& folder) {
  InView& view = inView_[folder];
  if (++view.count == 1) {
    asked_.forget(folder);
    view.asked = asked_.ofFolder(folder);
  }
  client_.showFolder(view.asked);
  handlers_.onOutput();
}

void FileManagerSession::visit(const std::string& folder) {
  // What is known of the folder is looked up anew when it is entered.
  const std::string asked = asked_.ofFolder(folder);
  visited_.visit(asked);
}

void FileManagerSession::leave(const std::string& folder) {
  const auto found = inView_.find(folder);
  if (found == inView_.end()) return;
  client_.hideFolder(found->second.asked);
  if (--found->second.count == 0) inView_.erase(found);
  handlers_.onOutput();
}

bool FileManagerSession::isObserved(const std::string& folder) {
  return client_.isReady() && client_.isObserved(asked_.ofFolder(folder));
}

// -- Menus ----------------------------------------------------------------------------------------

std::optional<HostClient::MenuQuestion> FileManagerSession::question(
    std::int64_t kind, const std::vector<HostClient::Place>& selected,
    const std::optional<std::string>& folder) {
  if (!client_.isReady() || selected.size() > MenuCache::kMaximumSelection) return std::nullopt;
  HostClient::MenuQuestion question;
  question.kind = kind;
  if (folder) question.targeted = asked_.ofFolder(*folder);
  if (question.targeted && !client_.isObserved(*question.targeted)) return std::nullopt;
  for (const HostClient::Place& place : selected) {
    question.selected.push_back({asked_.ofItem(place.path), place.isFolder});
    if (!client_.isObserved(question.selected.back().path)) return std::nullopt;
  }
  if (!folder && selected.empty()) return std::nullopt;
  return question;
}

std::shared_ptr<const ShownMenu> FileManagerSession::menu(const HostClient::MenuQuestion& question,
                                                          Time now) {
  now_ = now;
  auto menu = menus_.show(question, now);
  handlers_.onOutput();
  return menu;
}

void FileManagerSession::choose(const HostClient::MenuQuestion& question, const ShownItem& item,
                                Time now) {
  now_ = now;
  if (item.steps.empty() || !item.action) return;
  client_.chooseByTitles(
      question, item.steps, item.action,
      [this, title = item.title](const std::string& problem) {
        if (!problem.empty()) handlers_.onRefused(title, problem);
        menus_.invalidate(now_);
      },
      now);
  handlers_.onOutput();
}

}  // namespace kelpie::filemanagers
