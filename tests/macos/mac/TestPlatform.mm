#include "macos/TestPlatform.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "macos/mac/SettingsWriter.h"
#include "platform/macos/Retained.h"
#include "platform/macos/Strings.h"

namespace kelpie {

NSData* bookmarkOf(NSString* path) {
  return [[NSURL fileURLWithPath:path] bookmarkDataWithOptions:0
                                includingResourceValuesForKeys:nil
                                                 relativeToURL:nil
                                                         error:nullptr];
}

// AppKit does not tell the name of a symbol.
bool isSymbol(NSImage* image, NSString* /*name*/) { return image != nil; }

// What this process has set is to be stored before, and not after.
void storeElsewhere(NSString* suite, NSString* key, id value) {
  const auto own =
      Retained<NSUserDefaults*>::adopt([[NSUserDefaults alloc] initWithSuiteName:suite]);
  [own.get() synchronize];
  std::vector<std::string> words = writerArguments(suite, key, value);
  words.insert(words.begin(), stdString([[NSBundle mainBundle] executablePath]));
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const pid_t writer = fork();
  if (writer == 0) {
    execv(arguments.front(), arguments.data());
    _exit(127);
  }
  int status = -1;
  ASSERT_EQ(waitpid(writer, &status, 0), writer);
  EXPECT_EQ(status, 0);
}

void removeSettings(NSString* suite) {
  [[NSUserDefaults standardUserDefaults] removePersistentDomainForName:suite];
}

}  // namespace kelpie
