#include "extension/ControllerFixture.h"

#include "archive/KeyedArchiver.h"
#include "extension/RepositoryTable.h"

namespace kelpie {

KPKelpieSync& ControllerFixture::start() {
  defaults = std::make_unique<KPUserDefaults>(fakes.platform());
  controller = KPKelpieSync::create(fakes.platform(), *defaults);
  return *controller;
}

void ControllerFixture::launchApplication(std::string_view version, std::int32_t pid) {
  fakes.groupDefaults().changeFromOutside("KPApplicationVersion", version);
  fakes.applications.running["org.kelpie.Kelpie"] = {pid};
  fakes.messagePorts.setListening(kApplicationPort, true);
}

KPKelpieSync& ControllerFixture::startWithApplication() {
  launchApplication();
  start();
  fakes.runAll();
  fakes.messagePorts.forgetSent();
  fakes.events.clear();
  return *controller;
}

void ControllerFixture::quitApplication(std::int32_t pid) {
  fakes.applications.running.clear();
  fakes.messagePorts.setListening(kApplicationPort, false);
  fakes.processMonitors.fire(pid);
  fakes.runAll();
}

namespace {

Dictionary message(std::string_view selector, const Object& argument, const Object& target) {
  Dictionary content{{kMessageSelectorKey, selector}};
  if (!argument.isNil()) content.set(kMessageArgumentKey, argument);
  if (!target.isNil()) content.set(kMessageTargetKey, target);
  return content;
}

}  // namespace

void ControllerFixture::deliver(std::string_view selector, const Object& argument,
                                const Object& target) {
  fakes.messagePorts.deliver(kReceivingPort, kExtensionMessage,
                             message(selector, argument, target));
  fakes.runAll();
}

void ControllerFixture::handle(std::string_view selector, const Object& argument,
                               const Object& target) {
  controller->handleSelectorMessage(std::make_shared<const Bytes>(
      KeyedArchiver::archivedData(message(selector, argument, target)).value()));
}

URL ControllerFixture::openRepository(std::string_view path) {
  const URL root = fakes.files->addFolder(path);
  const URL git = fakes.files->addFolder(std::string(path) + "/.git");
  deliver("openRepositoryWithUrls:", Objects{root, git});
  return root;
}

void ControllerFixture::chooseFolders(const std::vector<std::string>& paths) {
  Objects bookmarks;
  for (const std::string& path : paths) {
    fakes.files->addFolder(path);
    bookmarks.emplace_back(fakes.files->addBookmark(path));
  }
  fakes.groupDefaults().changeFromOutside("KPFoldersPaths", bookmarks);
}

std::vector<ControllerFixture::Message> ControllerFixture::sentWith(
    std::string_view selector) const {
  std::vector<Message> messages = sent();
  std::erase_if(messages, [&](const Message& message) {
    return message.content[kMessageSelectorKey].stringValue() != selector;
  });
  return messages;
}

std::vector<std::string> ControllerFixture::appMessages() const {
  std::vector<std::string> texts;
  for (const auto& notification : fakes.notifications.posted())
    if (notification.name == kAppMessageNotification) texts.push_back(notification.object);
  return texts;
}

std::shared_ptr<KPRepository> ControllerFixture::repositoryOf(const URL& url) const {
  return controller->repositories().find(identifierOf(url));
}

}  // namespace kelpie
