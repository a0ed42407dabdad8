#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kelpie::filemanagers {

// The objects by which a file manager knows the items that it has asked about, and which of them
// are to be looked at again. An object is a number here: whoever tracks it says when it goes. One
// thread.
class TrackedItems {
 public:
  // The address of the file manager's object; never followed.
  using Token = const void*;

  struct Item {
    std::string path;
    std::string_view emblem;  // that the object shows; see emblemOf()
    bool isAdded = false;     // the emblem was given to it since it was asked about
    bool mustRenew = false;   // what it shows is not all that it has been given
  };

  // The object stands for the item at `path` from now on. The path that it stood for before; "" for
  // one that is new.
  std::string track(Token token, const std::string& path);
  bool isTracked(Token token) const { return tracked_.contains(token); }
  // Of one that is tracked.
  Item& item(Token token) { return tracked_.at(token); }
  // The object is there no more. The path that it stood for; "" for one that was not tracked.
  std::string forget(Token token);

  // The objects of these items are to be looked at again.
  void change(const std::vector<std::string>& paths);
  void changeOne(Token token);
  // Every object is, whatever it shows.
  void changeAll();
  // The object was looked at just now.
  void settle(Token token) { changed_.erase(token); }
  bool hasChanged() const { return !changed_.empty(); }
  // The next of those to be looked at again; null when there is none.
  Token takeChanged();

  std::size_t size() const { return tracked_.size(); }

 private:
  void unlink(Token token, const std::string& path);

  std::unordered_map<Token, Item> tracked_;
  std::unordered_multimap<std::string, Token> tokens_;
  std::unordered_set<Token> changed_;
  std::deque<Token> order_;  // of those that have changed; one that is not in changed_ is stale
};

}  // namespace kelpie::filemanagers
