#pragma once

#include <string_view>

#include "foundation/Object.h"

namespace kelpie {

class FileSystem;
class MenuHost;

// Turns the user's choices into messages to the main application, which does the work. Main thread.
// The sender is the chosen menu item; a message may make it anything. Without a sender, each
// raises std::invalid_argument where it comes to building its message.
class ActionForwarder {
 public:
  // Both are borrowed for the life of this object.
  ActionForwarder(MenuHost& host, const FileSystem& files) : host_(host), files_(files) {}

  // Sends the item, with the object that was left for its action when the menu was built, for the
  // repository of the first target. Nothing is sent when no repository holds that target; a
  // repository whose identifier the main application has taken away holds none.
  void remoteRepositoryAction(const Object& sender);
  // Sends the item as it is, whatever the targets are.
  void applicationAction(const Object& sender);
  // Ask for a repository to be cloned into, or made in, the first target. Raise
  // std::invalid_argument without one.
  void clone();
  void createRepository();

 private:
  void requestCreation(std::string_view selector);

  MenuHost& host_;
  const FileSystem& files_;
};

}  // namespace kelpie
