#include "extension/ActionForwarder.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "foundation/MemoFileSystem.h"
#include "foundation/MenuItem.h"
#include "menus/MenuHost.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"
#include "status/KPRepository.h"

namespace kelpie {

void ActionForwarder::remoteRepositoryAction(const Object& sender) {
  const std::vector<URL>& targets = host_.targetURLs();
  if (targets.empty()) return;
  const MemoFileSystem files(files_);
  const std::shared_ptr<KPRepository> repository = host_.repositoryForURL(targets.front(), files);
  // A message that is handled on another thread may take the identifier away, and with it the
  // repository.
  const std::optional<FileIdentifier> identifier =
      repository != nullptr ? repository->identifier() : std::nullopt;
  if (!identifier) return;
  std::shared_ptr<MenuItem> item;
  if (const std::shared_ptr<const MenuItem> chosen = sender.as<MenuItem>()) {
    item = std::make_shared<MenuItem>(*chosen);
    item->representedObject =
        item->action ? host_.senderObjects().objectForAction(*item->action) : Object();
  }
  host_.sendMessage({{kMessageTargetKey, *identifier},
                     {kMessageSenderKey, std::shared_ptr<const Archivable>(std::move(item))}},
                    kActionMessage);
}

void ActionForwarder::applicationAction(const Object& sender) {
  host_.sendMessage({{kMessageSenderKey, sender}}, kActionMessage);
}

void ActionForwarder::clone() { requestCreation(selector::kCloneRepository); }

void ActionForwarder::createRepository() { requestCreation(selector::kCreateRepository); }

void ActionForwarder::requestCreation(std::string_view selector) {
  const std::vector<URL>& targets = host_.targetURLs();
  const Object target = targets.empty() ? Object() : Object(targets.front());
  host_.sendMessage({{kMessageSelectorKey, selector}, {kMessageArgumentKey, target}},
                    kApplicationMessage);
}

}  // namespace kelpie
