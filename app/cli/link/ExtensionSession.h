#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/link/HostLink.h"
#include "cli/link/LinkMessages.h"
#include "cli/output/Context.h"

namespace kelpie::cli {

// A conversation with the extension that has begun: it was greeted and has answered. Main thread;
// blocks as HostLink does.
class ExtensionSession {
 public:
  // What waits for the extension's answer to a question, at the most.
  static constexpr std::chrono::seconds kAnswerLimit{10};

  // Whether an extension that does not run is started, through the session bus.
  enum class Start : std::uint8_t { IfNeeded, Never };

  // Connects and greets. Null, with `problem` saying in one line what is wrong and what to do, when
  // that fails.
  static std::unique_ptr<ExtensionSession> open(Start start, std::string& problem);
  // The same, starting the extension if needed; complains when it fails.
  static std::unique_ptr<ExtensionSession> openOrComplain(Context& context);

  // Says at its end, in one line, when lines of the extension were dropped.
  ~ExtensionSession();
  ExtensionSession(const ExtensionSession&) = delete;
  ExtensionSession& operator=(const ExtensionSession&) = delete;
  // Where it says that; nowhere at first. `console` outlives it.
  void reportTo(Console& console) { console_ = &console; }

  HostLink& link() { return *link_; }
  const LinkWelcome& welcome() const { return welcome_; }
  // Whether the item lies in an observed folder; only there are badges and menus asked for.
  bool isObserved(std::string_view path) const;
  // Takes in what concerns every command, such as new observed folders.
  void note(const nlohmann::json& message);

  // Waits for the message of one of the types that bears the number `id`. Null when the connection
  // ends or nothing comes in time.
  std::optional<nlohmann::json> await(std::int64_t id,
                                      std::initializer_list<std::string_view> types,
                                      std::chrono::milliseconds limit);

 private:
  explicit ExtensionSession(std::unique_ptr<HostLink> link) : link_(std::move(link)) {}

  // What went wrong, or nothing.
  std::optional<std::string> greet();

  std::unique_ptr<HostLink> link_;
  Console* console_ = nullptr;
  LinkWelcome welcome_;
};

}  // namespace kelpie::cli
