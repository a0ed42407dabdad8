#include "support/FakePlatform.h"

namespace kelpie {
namespace {

std::shared_ptr<SerialQueue> mainQueueOf(SerialQueues* realQueues, ManualQueues& queues) {
  return realQueues == nullptr ? queues.mainQueue() : realQueues->mainQueue();
}

}  // namespace

FakePlatform::FakePlatform() : FakePlatform(nullptr) {}

FakePlatform::FakePlatform(SerialQueues& realQueues) : FakePlatform(&realQueues) {}

FakePlatform::FakePlatform(SerialQueues* realQueues)
    : queues(events),
      files(std::make_shared<FakeFileSystem>(events)),
      finder(events),
      messagePorts(events, mainQueueOf(realQueues, queues)),
      defaults(events),
      entitlements(events),
      applications(events),
      processMonitors(events, mainQueueOf(realQueues, queues)),
      notifications(events, mainQueueOf(realQueues, queues)),
      limits(events),
      log(events),
      installed_(files),
      platform_{finder,
                messagePorts,
                defaults,
                entitlements,
                applications,
                processMonitors,
                notifications,
                *files,
                realQueues == nullptr ? static_cast<SerialQueues&>(queues) : *realQueues,
                bundle,
                limits,
                log} {}

Platform FakePlatform::platformWith(FinderSyncController& otherFinder) const {
  return platformWith(otherFinder, platform_.files);
}

Platform FakePlatform::platformWith(FinderSyncController& otherFinder,
                                    FileSystem& otherFiles) const {
  return {otherFinder,
          platform_.messagePorts,
          platform_.defaults,
          platform_.entitlements,
          platform_.applications,
          platform_.processMonitors,
          platform_.notifications,
          otherFiles,
          platform_.queues,
          platform_.bundle,
          platform_.limits,
          platform_.log};
}

}  // namespace kelpie
