#include "gtk/Extension.h"

#include <utility>

#include "glib/Guarded.h"
#include "glib/LocalPath.h"
#include "linux/base/RuntimeDirectory.h"

namespace kelpie::filemanagers {
namespace {

// How long, in one turn of the main loop, items are shown again.
constexpr std::chrono::milliseconds kSlice(2);

GSourcePtr idle(GSourceFunc call, gpointer data) {
  GSource* source = g_idle_source_new();
  g_source_set_callback(source, call, data, nullptr);
  g_source_attach(source, nullptr);
  return GSourcePtr(source);
}

}  // namespace

Extension& Extension::instance() {
  // Never let go: the file manager's objects call back until the process ends.
  static Extension* const extension = std::unique_ptr<Extension>(new Extension).release();
  return *extension;
}

Extension::Extension()
    : session_(KELPIE_HOST_NAME, {[this] { tellOfItems(); }, [this] { tellOfMenus(); },
                                  [this] { tellOfFolders(); }, [this] { driver_.wake(); },
                                  [this](const std::string& title, const std::string& problem) {
                                    service_.notify(title, problem);
                                  }}),
      driver_(session_, RuntimeDirectory().finderSocket(),
              [this](std::function<void(const std::string&)> done) {
                service_.start(std::move(done));
              }),
      service_([this] { guarded("appeared", [this] { driver_.extensionAppeared(); }); }) {
  driver_.start();
}

// -- Items ----------------------------------------------------------------------------------------

void Extension::show(HostFile* file) {
  const auto path = localPathOf(file);
  if (!path) return;
  if (!session_.isTracked(file)) g_object_weak_ref(G_OBJECT(file), &Extension::fileGone, this);
  const bool isFolder = HOST_FUNCTION(file_info_is_directory)(file) != FALSE;
  give(file, session_.show(file, *path, isFolder));
}

// For each thing that it is given the file manager looks at the item anew.
void Extension::give(HostFile* file, const FileManagerSession::Look& look) const {
  if (!look.emblem.empty())
    HOST_FUNCTION(file_info_add_emblem)(file, std::string(look.emblem).c_str());
  if (hasColumns_ && !look.label.empty())
    HOST_FUNCTION(file_info_add_string_attribute)(file, kStatusAttribute, look.label.c_str());
}

void Extension::columnsWanted() {
  if (!std::exchange(hasColumns_, true)) session_.showAllAgain();
}

void Extension::fileGone(gpointer self, GObject* file) {
  guarded("file gone", [&] { static_cast<Extension*>(self)->session_.forget(file); });
}

void Extension::tellOfItems() {
  if (!changes_) changes_ = idle(&Extension::showChanged, this);
}

// Making a file's information invalid makes the file manager drop it, and ask for it again.
gboolean Extension::showChanged(gpointer self) {
  auto* extension = static_cast<Extension*>(self);
  guarded("show changed items", [extension] {
    const auto end = HostClient::Clock::now() + kSlice;
    while (const auto change = extension->session_.takeChange()) {
      // It was tracked, so that it has not gone.
      auto* file = static_cast<HostFile*>(const_cast<void*>(change->token));
      const GObjectPtr<HostFile> kept(static_cast<HostFile*>(g_object_ref(file)));
      if (change->isAddition)
        extension->give(file, change->look);
      else
        HOST_FUNCTION(file_info_invalidate_extension_info)(file);
      if (HostClient::Clock::now() >= end) break;
    }
  });
  if (extension->session_.hasChanged()) return G_SOURCE_CONTINUE;
  extension->changes_.reset();
  return G_SOURCE_REMOVE;
}

// -- Menus ----------------------------------------------------------------------------------------

std::shared_ptr<const ShownMenu> Extension::menu(const HostClient::MenuQuestion& question,
                                                 bool isOpening) {
  auto menu = session_.menu(question, HostClient::Clock::now());
#if !defined(KELPIE_HOST_HAS_WIDGETS)
  // Files has no event that could be looked at. A menu that is opened for an item that was not
  // selected is one of a single item, and is not known yet.
  isOpening = !menu && question.selected.size() == 1;
#endif
  const auto isAnswered = [&] { return !session_.isAsking(question); };
  if (!isOpening || isAnswered()) return menu;
  const auto serve = [this](const std::function<bool()>& done, std::chrono::milliseconds limit) {
    return driver_.serveUntil(done, limit);
  };
  if (!wait_.wait(isAnswered, serve, HostClient::Clock::now())) return menu;
  return session_.menu(question, HostClient::Clock::now());
}

// The file manager is told from its main loop: what has changed may have come while it asked. Nemo
// makes all its menus anew when it is told, and asks again whenever it opens one: it need not know.
void Extension::tellOfMenus() {
  wait_.answered();
#if !defined(KELPIE_FOR_NEMO)
  if (!newMenus_ && !wait_.isWaiting()) newMenus_ = idle(&Extension::tellProviders, this);
#endif
}

gboolean Extension::tellProviders(gpointer self) {
  auto* extension = static_cast<Extension*>(self);
  extension->newMenus_.reset();
  guarded("tell of menus", [extension] {
    for (gpointer provider : std::vector(extension->providers_))
      HOST_FUNCTION(menu_provider_emit_items_updated_signal)
    (static_cast<HOST_CLASS(MenuProvider)*>(provider));
  });
  return G_SOURCE_REMOVE;
}

void Extension::tellOfFolders() {
  for (FolderListener* listener : std::vector(listeners_)) listener->foldersChanged();
}

// -- Paths ----------------------------------------------------------------------------------------

std::optional<std::string> localPathOf(HostFile* file) {
  const GObjectPtr<GFile> location(HOST_FUNCTION(file_info_get_location)(file));
  return localPathOf(location.get());
}

std::optional<std::string> localPathOfUri(const char* uri) {
  if (uri == nullptr) return std::nullopt;
  const GObjectPtr<GFile> location(g_file_new_for_uri(uri));
  return localPathOf(location.get());
}

}  // namespace kelpie::filemanagers
