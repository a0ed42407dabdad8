#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/link/HostLink.h"
#include "cli/output/Context.h"
#include "foundation/Result.h"
#include "foundation/ThreadBound.h"
#include "linux/hostclient/HostClient.h"

namespace kelpie::cli {

// A conversation with the extension that has begun: it was greeted and has answered. Main thread;
// blocks as HostLink does.
class ExtensionSession {
 public:
  // Whether an extension that does not run is started, through the session bus.
  enum class Start : std::uint8_t { IfNeeded, Never };

  // Connects and greets. A failure says what is wrong and what to do.
  static Result<std::unique_ptr<ExtensionSession>> open(Start start);
  // The same, starting the extension if needed; complains when it fails.
  static std::unique_ptr<ExtensionSession> openOrComplain(Context& context);

  // Says at its end, in one line, when lines of the extension were dropped.
  ~ExtensionSession();
  ExtensionSession(const ExtensionSession&) = delete;
  ExtensionSession& operator=(const ExtensionSession&) = delete;
  // Sets where it says that; nowhere at first. `console` outlives it.
  void reportTo(Console& console) { console_ = &console; }

  // The host's end of the conversation. What it has to say is sent by flush() and receive().
  HostClient& client() { return client_; }
  // Sets who is told of badges that come or change; nobody at first.
  using BadgeHandler = std::function<void(const std::vector<std::string>& paths)>;
  void tellOfBadges(BadgeHandler handler) { onBadges_ = std::move(handler); }
  // Whether the item lies in an observed folder; only there are badges and menus asked for.
  bool isObserved(std::string_view path) const { return client_.isObserved(path); }

  // Sends what the client has to say. False when the connection has ended.
  bool flush();
  // Sends it, and hands the client what comes until `deadline`; returns after the first bytes, or
  // when one of the `others` is readable (see HostLink::receive()).
  HostLink::Event receive(Clock::time_point deadline, std::initializer_list<int> others = {});
  // The same until `isDone` holds. False when the connection ends first.
  bool receiveUntil(const std::function<bool()>& isDone);

 private:
  explicit ExtensionSession(std::unique_ptr<HostLink> link) : link_(std::move(link)) {}

  // What went wrong, or nothing.
  std::optional<std::string> greet();

  std::unique_ptr<HostLink> link_;
  Console* console_ = nullptr;
  BadgeHandler onBadges_;
  // It is not told of the end of the connection, so that earlier badges are still printed.
  HostClient client_{"kelpie", {{}, {}, [this](const std::vector<std::string>& paths) {
                                  if (onBadges_) onBadges_(paths);
                                }}};
  ThreadBound thread_;
};

}  // namespace kelpie::cli
