#pragma once

#import <FinderSync/FinderSync.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "macos/MainLoop.h"
#include "platform/macos/KPKelpieSync.h"
#include "platform/macos/Retained.h"
#include "support/TemporaryFolder.h"

// The Objective-C class, told from the controller of the same name in the namespace.
using PrincipalClass = KPKelpieSync;

namespace kelpie {

// The Finder, the main application and the user around one principal class, as a script: it makes
// the class, drives it, and sees what comes of it. Main thread.
class ScriptedHost {
 public:
  // A message of the extension's, as the main application receives it: unarchived by the platform.
  struct Message {
    std::int32_t id;
    Retained<NSDictionary*> content;
  };

  // A fresh system: an application group, no settings, no application; a folder with a working copy
  // "repo" of two files, "a.txt" and "b.txt", and a folder "repo/sub".
  ScriptedHost();
  ~ScriptedHost();
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;

  // -- The main application -----------------------------------------------------------------------

  // Starts a process that counts as the main application of that version, and opens its port.
  void startApplication(NSString* version = @"1");
  // Ends that process; its port goes with it.
  void killApplication();
  // That process receives a signal that it survives.
  void signalApplication();
  void post(NSString* notification);
  // Sends a selector message to the extension.
  void send(NSString* selector, id argument, id target = nil);
  // Sends bytes as they are.
  void send(std::int32_t id, NSData* bytes);
  // The messages with that selector that have come; all action messages for nil.
  std::vector<Message> messages(NSString* selector) const;
  void forgetMessages() { messages_.clear(); }
  // Makes the folders that the Finder is to report.
  void observeFolders(NSArray* bookmarks);
  // Makes contextual menus hold the file items with these tags, and nothing else.
  void showFileItems(NSArray* tags);

  // -- The Finder ---------------------------------------------------------------------------------

  // Makes the principal class; nil when it refuses.
  PrincipalClass* start();
  void stop();
  PrincipalClass* extension() const { return extension_.get(); }
  // A file URL below the host's folder.
  NSURL* url(const std::string& path) const;
  // The badge that was set last on that item; "(none)" when none was.
  std::string badge(const std::string& path) const;
  // Chooses the item as the Finder does: a copy arrives, which has title, action and tag.
  void choose(NSMenuItem* item);

  // -- All of it ----------------------------------------------------------------------------------

  // Shows the working copy and lets the main application open it; then its badge has been asked
  // for.
  void openRepository();
  // The identifier of an existing item, as messages hold it.
  id identifier(const std::string& path) const;
  static bool runUntil(const std::function<bool()>& condition) {
    return kelpie::runUntil(condition);
  }

  static NSString* const kGroup;

 private:
  static CFDataRef receive(CFMessagePortRef port, SInt32 id, CFDataRef data, void* host);
  void openApplicationPort();

  TemporaryFolder folder_;
  Retained<PrincipalClass*> extension_;
  CFRetained<CFMessagePortRef> port_;
  CFRetained<CFRunLoopSourceRef> source_;
  std::int32_t application_ = 0;  // process id
  std::vector<Message> messages_;
};

// The item with that action, wherever it stands in the menu; nil when there is none.
NSMenuItem* itemWithAction(NSMenu* menu, const char* action);
// The same by its title.
NSMenuItem* itemWithTitle(NSMenu* menu, NSString* title);

}  // namespace kelpie
