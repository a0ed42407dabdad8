#include "platform/linux/LinuxNotificationCenter.h"

#include <list>
#include <utility>
#include <vector>

#include "linux/base/GLibPointers.h"
#include "linux/base/GuardedTask.h"

namespace kelpie {
namespace {

constexpr const char* kPath = "/org/kelpie/DistributedNotificationCenter";
constexpr const char* kInterface = "org.kelpie.DistributedNotificationCenter";
constexpr const char* kMember = "Posted";
constexpr const char* kArguments = "(ss)";

// The bus refuses text that is not UTF-8, and a NUL would end the text.
GVariant* stringOf(std::string_view text) {
  const GCharPtr valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  return g_variant_new_string(valid.get());
}

}  // namespace

// Main thread.
struct LinuxNotificationCenter::Observers {
  struct Observer {
    std::string name;
    std::function<void(const std::string& object)> handler;
  };

  explicit Observers(Log& whereTo) : log(whereTo) {}

  Log& log;
  std::list<std::shared_ptr<const Observer>> all;
  std::function<void()> prepare;

  // An observer that goes meanwhile is not called any more.
  void deliver(const std::string& name, const std::string& object) {
    if (prepare) runGuarded(log, prepare);
    std::vector<std::weak_ptr<const Observer>> told;
    for (const auto& observer : all)
      if (observer->name == name) told.emplace_back(observer);
    for (const auto& weak : told)
      if (const auto observer = weak.lock()) runGuarded(log, [&] { observer->handler(object); });
  }
};

class LinuxNotificationCenter::Observation final : public NotificationObservation {
 public:
  Observation(std::shared_ptr<Observers> observers,
              std::shared_ptr<const Observers::Observer> observer)
      : observers_(std::move(observers)), observer_(std::move(observer)) {}
  ~Observation() override { observers_->all.remove(observer_); }
  Observation(const Observation&) = delete;
  Observation& operator=(const Observation&) = delete;

 private:
  std::shared_ptr<Observers> observers_;
  std::shared_ptr<const Observers::Observer> observer_;
};

LinuxNotificationCenter::LinuxNotificationCenter(const SessionBus* bus, Log& log)
    : bus_(bus), log_(log), observers_(std::make_shared<Observers>(log)) {
  if (bus_ == nullptr) return;
  using Held = std::shared_ptr<Observers>;
  const auto letGo = [](gpointer data) {
    const std::unique_ptr<Held> owned(static_cast<Held*>(data));
  };
  subscription_ = g_dbus_connection_signal_subscribe(
      bus_->connection(), nullptr, kInterface, kMember, kPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      &LinuxNotificationCenter::received, std::make_unique<Held>(observers_).release(), letGo);
}

LinuxNotificationCenter::~LinuxNotificationCenter() {
  observers_->prepare = nullptr;  // observations outlive this
  if (bus_ != nullptr) g_dbus_connection_signal_unsubscribe(bus_->connection(), subscription_);
}

std::unique_ptr<NotificationObservation> LinuxNotificationCenter::addObserver(
    std::string_view name, std::function<void(const std::string& object)> handler) {
  auto observer = std::make_shared<const Observers::Observer>(
      Observers::Observer{std::string(name), std::move(handler)});
  observers_->all.push_back(observer);
  return std::make_unique<Observation>(observers_, std::move(observer));
}

void LinuxNotificationCenter::setBeforeDelivery(std::function<void()> prepare) {
  observers_->prepare = std::move(prepare);
}

void LinuxNotificationCenter::post(std::string_view name, std::string_view object) {
  std::string problem = "there is no session bus";
  if (bus_ != nullptr) {
    GVariant* const arguments = g_variant_new("(@s@s)", stringOf(name), stringOf(object));
    GError* failure = nullptr;
    if (g_dbus_connection_emit_signal(bus_->connection(), nullptr, kPath, kInterface, kMember,
                                      arguments, &failure))
      return;
    const GErrorPtr error(failure);
    problem = error->message;
  }
  log_.write("the notification " + std::string(name) + " cannot be posted: " + problem);
}

void LinuxNotificationCenter::received(GDBusConnection* /*connection*/, const gchar* sender,
                                       const gchar* /*path*/, const gchar* /*interface*/,
                                       const gchar* /*member*/, GVariant* arguments,
                                       gpointer observers) {
  // Held: an observer may let the center go.
  const auto held = *static_cast<std::shared_ptr<Observers>*>(observers);
  if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE(kArguments))) {
    held->log.write(std::string("dropped a notification of ") + sender +
                    " that is not of the form " + kArguments);
    return;
  }
  const gchar* name = nullptr;
  const gchar* object = nullptr;
  g_variant_get(arguments, "(&s&s)", &name, &object);
  held->deliver(name, object);
}

}  // namespace kelpie
