#include "thunar/ThunarExtension.h"

#include "glib/Guarded.h"
#include "linux/base/RuntimeDirectory.h"

namespace kelpie::filemanagers {

ThunarExtension& ThunarExtension::instance() {
  // Never let go: Thunar's objects call back until the process ends.
  static ThunarExtension* const extension =
      std::unique_ptr<ThunarExtension>(new ThunarExtension).release();
  return *extension;
}

// Thunar asks for a menu each time that it opens one, so there is nobody to tell of a new one.
ThunarExtension::ThunarExtension()
    : session_("thunar", {[] {}, [this] { wait_.answered(); }, [] {}, [this] { driver_.wake(); },
                          [this](const std::string& title, const std::string& problem) {
                            service_.notify(title, problem);
                          }}),
      driver_(session_, RuntimeDirectory().finderSocket(),
              [this](std::function<void(const std::string&)> done) {
                service_.start(std::move(done));
              }),
      service_([this] { guarded("appeared", [this] { driver_.extensionAppeared(); }); }),
      windows_({[this](const std::string& folder) { session_.enter(folder); },
                [this](const std::string& folder) { session_.leave(folder); }}) {
  driver_.start();
}

std::shared_ptr<const ShownMenu> ThunarExtension::menu(const HostClient::MenuQuestion& question,
                                                       bool isOpening) {
  auto known = session_.menu(question, HostClient::Clock::now());
  const auto isAnswered = [&] { return !session_.isAsking(question); };
  if (!isOpening || isAnswered()) return known;
  const auto serve = [this](const std::function<bool()>& done, std::chrono::milliseconds limit) {
    return driver_.serveUntil(done, limit);
  };
  if (!wait_.wait(isAnswered, serve, HostClient::Clock::now())) return known;
  return session_.menu(question, HostClient::Clock::now());
}

}  // namespace kelpie::filemanagers
