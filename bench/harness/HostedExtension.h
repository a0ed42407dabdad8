#pragma once

#include <memory>
#include <string>
#include <vector>

#include "linux/hostlink/HostLinkHub.h"
#include "linux/hostlink/HostSession.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/linux/LinuxFinderSyncController.h"
#include "settings/KPUserDefaults.h"
#include "support/FakePlatform.h"
#include "support/ScopedFileSystem.h"

namespace kelpie {

class KPKelpieSync;
class KPRepository;

// The extension behind the host link, with one host that has said hello, from the text of a line to
// the text of its answers. All of it is the real one, the files too, but for the main application,
// which listens and does nothing, and the queues, which are those of `fakes`. Everything is called
// on their main queue.
class HostedExtension {
 public:
  // `fakes` outlives this.
  HostedExtension(FakePlatform& fakes, std::shared_ptr<FileSystem> files);
  ~HostedExtension();
  HostedExtension(const HostedExtension&) = delete;
  HostedExtension& operator=(const HostedExtension&) = delete;

  KPKelpieSync& sync() { return *sync_; }
  void open(const std::string& root);
  // The one that was opened first; there is one.
  std::shared_ptr<KPRepository> repository() const;

  // The host says the line.
  void handleLine(const std::string& line) { session_->handleLine(line); }
  // What the host was told since the last call.
  std::vector<std::string> takeAnswers();

 private:
  std::shared_ptr<FileSystem> files_;
  LinuxFinderSyncController finder_;
  Platform platform_;
  KPUserDefaults defaults_;
  ScopedFileSystem installed_;
  std::unique_ptr<KPKelpieSync> sync_;
  std::unique_ptr<HostLinkHub> hub_;
  std::vector<std::string> answers_;
  std::unique_ptr<HostSession> session_;
};

}  // namespace kelpie
