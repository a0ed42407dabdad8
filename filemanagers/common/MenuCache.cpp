#include "common/MenuCache.h"

#include <algorithm>
#include <utility>

namespace kelpie::filemanagers {
namespace {

bool isSame(const HostClient::MenuQuestion& one, const HostClient::MenuQuestion& other) {
  const auto isSamePlace = [](const HostClient::Place& a, const HostClient::Place& b) {
    return a.path == b.path && a.isFolder == b.isFolder;
  };
  return one.kind == other.kind && one.targeted == other.targeted &&
         std::ranges::equal(one.selected, other.selected, isSamePlace);
}

}  // namespace

MenuCache::Entry* MenuCache::entryOf(const HostClient::MenuQuestion& question) {
  const auto found = std::ranges::find_if(
      entries_, [&](const Entry& entry) { return isSame(entry.question, question); });
  return found == entries_.end() ? nullptr : &*found;
}

std::shared_ptr<const ShownMenu> MenuCache::find(const HostClient::MenuQuestion& question) const {
  const auto found = std::ranges::find_if(
      entries_, [&](const Entry& entry) { return isSame(entry.question, question); });
  return found == entries_.end() ? nullptr : found->menu;
}

bool MenuCache::isAsking(const HostClient::MenuQuestion& question) const {
  return std::ranges::any_of(entries_, [&](const Entry& entry) {
    return entry.isAsking && isSame(entry.question, question);
  });
}

std::shared_ptr<const ShownMenu> MenuCache::show(const HostClient::MenuQuestion& question,
                                                 Time now) {
  if (!client_.isReady() || question.selected.size() > kMaximumSelection) return nullptr;
  const auto found = std::ranges::find_if(
      entries_, [&](const Entry& entry) { return isSame(entry.question, question); });
  if (found == entries_.end())
    entries_.push_front({question, nullptr, {}, false, false});
  else
    entries_.splice(entries_.begin(), entries_, found);
  if (entries_.size() > kMaximumMenus) entries_.pop_back();
  Entry& entry = entries_.front();
  if (!entry.menu || entry.isStale || now - entry.answered >= kFresh) ask(entry, now);
  return entry.menu;
}

void MenuCache::ask(Entry& entry, Time now) {
  if (entry.isAsking) return;
  entry.isAsking = true;
  entry.isStale = false;
  client_.askMenu(
      entry.question,
      [self = std::weak_ptr(self_), question = entry.question,
       now](const HostClient::MenuReply& reply) {
        if (const auto cache = self.lock()) (*cache)->take(question, reply, now);
      },
      now);
}

// The answer may be of any time since it was asked for; counting from then, it is asked for again
// a little early.
void MenuCache::take(const HostClient::MenuQuestion& question, const HostClient::MenuReply& reply,
                     Time now) {
  Entry* entry = entryOf(question);
  if (entry == nullptr) return;
  entry->isAsking = false;
  entry->answered = now;
  auto menu = std::make_shared<const ShownMenu>(shownMenu(reply.items, client_.welcome().images));
  const bool isOther = entry->menu ? *entry->menu != *menu : !menu->empty();
  entry->menu = std::move(menu);
  // What has changed while it was on its way may be missing in it.
  if (entry->isStale && entry == &entries_.front() && !refreshAt_) refreshAt_ = now;
  if (isOther && entry == &entries_.front()) onChanged_();
}

void MenuCache::invalidate(Time now) {
  for (Entry& entry : entries_) entry.isStale = true;
  if (!entries_.empty() && !refreshAt_) refreshAt_ = now + kQuiet;
}

void MenuCache::clear() {
  const bool wasShown =
      !entries_.empty() && entries_.front().menu && !entries_.front().menu->empty();
  entries_.clear();
  refreshAt_.reset();
  if (wasShown) onChanged_();
}

void MenuCache::tick(Time now) {
  if (!refreshAt_ || now < *refreshAt_) return;
  refreshAt_.reset();
  if (client_.isReady() && !entries_.empty() && entries_.front().isStale)
    ask(entries_.front(), now);
}

}  // namespace kelpie::filemanagers
