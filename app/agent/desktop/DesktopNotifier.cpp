#include "agent/desktop/DesktopNotifier.h"

#include <cstddef>
#include <cstdint>

#include "foundation/PrintableText.h"

namespace kelpie::agent {
namespace {

// More than a bubble shows; git can say very much.
constexpr std::size_t kLongestText = 2000;
constexpr int kServiceLimit = 5000;  // milliseconds

std::string shortened(const std::string& text) {
  return text.size() <= kLongestText ? text : text.substr(0, kLongestText) + "\u2026";
}

}  // namespace

DesktopNotifier::DesktopNotifier(GDBusConnection* bus, Log& log)
    : bus_(bus == nullptr ? nullptr : G_DBUS_CONNECTION(g_object_ref(bus))),
      log_(log),
      cancellable_(g_cancellable_new()) {}

DesktopNotifier::~DesktopNotifier() { g_cancellable_cancel(cancellable_.get()); }

void DesktopNotifier::notify(const std::string& title, const std::string& text) {
  if (bus_ == nullptr) {
    log_.write("No session bus to show a notification: " + title);
    return;
  }
  const std::string shownTitle = printableText(shortened(title));
  const std::string shownText = printableLines(shortened(text));
  // The body may be markup, and a file name is none.
  const GCharPtr body(
      g_markup_escape_text(shownText.data(), static_cast<gssize>(shownText.size())));
  GVariantBuilder actions;
  g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
  GVariantBuilder hints;
  g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
  g_dbus_connection_call(bus_.get(), "org.freedesktop.Notifications",
                         "/org/freedesktop/Notifications", "org.freedesktop.Notifications",
                         "Notify",
                         g_variant_new("(susssasa{sv}i)", "Kelpie", std::uint32_t{0}, "",
                                       shownTitle.c_str(), body.get(), &actions, &hints, -1),
                         G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, kServiceLimit,
                         cancellable_.get(), &DesktopNotifier::answered, this);
}

void DesktopNotifier::answered(GObject* bus, GAsyncResult* result, gpointer self) {
  GError* error = nullptr;
  const GVariantPtr answer(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
  if (error == nullptr) return;
  const GErrorPtr why(error);
  // Cancelled by the destructor: the notifier is gone.
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) == TRUE) return;
  static_cast<DesktopNotifier*>(self)->log_.write(std::string("No notification was shown: ") +
                                                  error->message);
}

}  // namespace kelpie::agent
