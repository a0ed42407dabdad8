#include "harness/HostedExtension.h"

#include <utility>

#include "extension/KPKelpieSync.h"
#include "extension/RepositoryTable.h"
#include "foundation/Object.h"
#include "foundation/URL.h"

namespace kelpie {

HostedExtension::HostedExtension(FakePlatform& fakes, std::shared_ptr<FileSystem> files)
    : files_(std::move(files)),
      finder_(fakes.platform().queues.mainQueue()),
      platform_(fakes.platformWith(finder_, *files_)),
      defaults_(platform_),
      installed_(files_) {
  KPKelpieSync::initialize(platform_);
  sync_ = KPKelpieSync::create(platform_, defaults_);
  sync_->setApplicationPid(42);
  hub_ = std::make_unique<HostLinkHub>(
      *sync_, finder_, [](const Image&) { return ""; }, platform_.queues);
  session_ = std::make_unique<HostSession>(
      *hub_, [this](std::string line) { answers_.push_back(std::move(line)); });
  handleLine(R"({"type":"hello","host":"bench","version":1})");
}

HostedExtension::~HostedExtension() = default;

void HostedExtension::open(const std::string& root) {
  sync_->openRepositoryWithUrls(
      Objects{URL::fileURLWithPath(root), URL::fileURLWithPath(root + "/.git")});
}

std::shared_ptr<KPRepository> HostedExtension::repository() const {
  return sync_->repositories().all()->front();
}

std::vector<std::string> HostedExtension::takeAnswers() { return std::exchange(answers_, {}); }

}  // namespace kelpie
