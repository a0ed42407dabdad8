#include "agent/desktop/DesktopNotifier.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "foundation/PrintableText.h"

namespace kelpie::agent {
namespace {

// More than a bubble shows; git can say very much.
constexpr std::size_t kLongestNotice = 2000;
constexpr int kServiceLimit = 5000;  // milliseconds
constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kNotificationsPath = "/org/freedesktop/Notifications";
constexpr std::string_view kButton = "do";  // how the button is called between the programs

std::string shortened(const std::string& text) {
  return text.size() <= kLongestNotice ? text : text.substr(0, kLongestNotice) + "\u2026";
}

}  // namespace

// A notification that the desktop was asked to show.
struct DesktopNotifier::Call {
  DesktopNotifier* notifier;  // gone when the call was cancelled
  Key key;                    // 0: without a button
};

DesktopNotifier::DesktopNotifier(GDBusConnection* bus, Log& log)
    : bus_(bus == nullptr ? nullptr : G_DBUS_CONNECTION(g_object_ref(bus))),
      log_(log),
      cancellable_(g_cancellable_new()) {
  if (bus_ == nullptr) return;
  signals_ = g_dbus_connection_signal_subscribe(
      bus_.get(), kService, kService, nullptr, kNotificationsPath, nullptr,
      G_DBUS_SIGNAL_FLAGS_NONE, &DesktopNotifier::heard, this, nullptr);
}

DesktopNotifier::~DesktopNotifier() {
  if (signals_ != 0) g_dbus_connection_signal_unsubscribe(bus_.get(), signals_);
  g_cancellable_cancel(cancellable_.get());
}

void DesktopNotifier::notify(const std::string& title, const std::string& text) {
  thread_.check();
  show(0, title, text, {});
}

Notifier::Key DesktopNotifier::offer(const std::string& title, const std::string& text,
                                     Button button) {
  thread_.check();
  const Key key = ++lastKey_;
  offers_[key].pressed = std::move(button.pressed);
  if (offers_.size() > kMostOffers) offers_.erase(offers_.begin());
  show(key, title, text, button.label);
  return key;
}

void DesktopNotifier::withdraw(Key key) {
  thread_.check();
  const auto offer = offers_.find(key);
  if (offer == offers_.end()) return;
  const std::uint32_t number = offer->second.number;
  offers_.erase(offer);
  // One without a number yet is closed when the desktop tells it.
  if (number != 0) close(number);
}

void DesktopNotifier::show(Key key, const std::string& title, const std::string& text,
                           const std::string& label) {
  if (listener_) listener_(title, text);
  if (bus_ == nullptr) {
    log_.write("No session bus to show a notification: " + title);
    return;
  }
  const std::string shownTitle = printableText(shortened(title));
  const std::string shownText = printableLines(shortened(text));
  // The body may be markup, but a file name is not.
  const GCharPtr body(
      g_markup_escape_text(shownText.data(), static_cast<gssize>(shownText.size())));
  GVariantBuilder actions;
  g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
  if (!label.empty()) {
    g_variant_builder_add(&actions, "s", kButton.data());
    g_variant_builder_add(&actions, "s", printableText(label).c_str());
  }
  GVariantBuilder hints;
  g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
  g_dbus_connection_call(bus_.get(), kService, kNotificationsPath, kService, "Notify",
                         g_variant_new("(susssasa{sv}i)", "Kelpie", std::uint32_t{0}, "",
                                       shownTitle.c_str(), body.get(), &actions, &hints, -1),
                         G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, kServiceLimit,
                         cancellable_.get(), &DesktopNotifier::answered,
                         std::make_unique<Call>(Call{this, key}).release());
}

void DesktopNotifier::close(std::uint32_t number) {
  g_dbus_connection_call(bus_.get(), kService, kNotificationsPath, kService, "CloseNotification",
                         g_variant_new("(u)", number), nullptr, G_DBUS_CALL_FLAGS_NONE,
                         kServiceLimit, nullptr, nullptr, nullptr);
}

std::map<Notifier::Key, DesktopNotifier::Offer>::iterator DesktopNotifier::offerOf(
    std::uint32_t number) {
  return std::ranges::find_if(
      offers_, [number](const auto& offer) { return offer.second.number == number; });
}

void DesktopNotifier::answered(GObject* bus, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Call> call(static_cast<Call*>(data));
  GError* error = nullptr;
  const GVariantPtr answer(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
  const GErrorPtr why(error);
  // Cancelled by the destructor: the notifier is gone.
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) == TRUE) return;
  DesktopNotifier& self = *call->notifier;
  const auto offer = self.offers_.find(call->key);
  if (error != nullptr) {
    if (offer != self.offers_.end()) self.offers_.erase(offer);
    self.log_.write(std::string("No notification was shown: ") + error->message);
    return;
  }
  guint32 number = 0;
  g_variant_get(answer.get(), "(u)", &number);
  if (offer != self.offers_.end())
    offer->second.number = number;
  else if (call->key != 0)
    self.close(number);
}

void DesktopNotifier::heard(GDBusConnection* /*bus*/, const gchar* /*sender*/,
                            const gchar* /*path*/, const gchar* /*interface*/, const gchar* signal,
                            GVariant* values, gpointer data) {
  auto& self = *static_cast<DesktopNotifier*>(data);
  const std::string_view name = signal;
  guint32 number = 0;
  if (name == "NotificationClosed" && g_variant_is_of_type(values, G_VARIANT_TYPE("(uu)"))) {
    g_variant_get(values, "(uu)", &number, nullptr);
    if (const auto offer = self.offerOf(number); number != 0 && offer != self.offers_.end())
      self.offers_.erase(offer);
  } else if (name == "ActionInvoked" && g_variant_is_of_type(values, G_VARIANT_TYPE("(us)"))) {
    const gchar* button = nullptr;
    g_variant_get(values, "(u&s)", &number, &button);
    const auto offer = self.offerOf(number);
    if (number == 0 || kButton != button || offer == self.offers_.end()) return;
    const std::function<void()> pressed = std::move(offer->second.pressed);
    self.offers_.erase(offer);
    if (pressed) pressed();
  }
}

}  // namespace kelpie::agent
