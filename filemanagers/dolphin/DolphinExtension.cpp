#include "dolphin/DolphinExtension.h"

#include <cstdint>
#include <utility>

#include "common/CommonFolder.h"
#include "linux/base/RuntimeDirectory.h"

namespace kelpie::filemanagers {
namespace {

constexpr std::int64_t kItems = 0;
constexpr std::int64_t kContainer = 1;

}  // namespace

DolphinExtension& DolphinExtension::instance() {
  // Never let go: at the end of the process the loop that it runs on is gone.
  static DolphinExtension* const extension =
      std::unique_ptr<DolphinExtension>(new DolphinExtension).release();
  return *extension;
}

DolphinExtension::DolphinExtension()
    : session_("dolphin", {[this] {
                             if (onItemsChanged_) onItemsChanged_();
                           },
                           [this] { wait_.answered(); },
                           [this] {
                             if (onFoldersChanged_) onFoldersChanged_();
                           },
                           [this] { driver_.wake(); },
                           [this](const std::string& title, const std::string& problem) {
                             service_.notify(title, problem);
                           }}),
      driver_(session_, RuntimeDirectory().finderSocket(),
              [this](std::function<void(const std::string&)> done) {
                service_.start(std::move(done));
              }),
      service_([this] { driver_.extensionAppeared(); }) {
  driver_.start();
}

void DolphinExtension::setListeners(std::function<void()> onItemsChanged,
                                    std::function<void()> onFoldersChanged) {
  onItemsChanged_ = std::move(onItemsChanged);
  onFoldersChanged_ = std::move(onFoldersChanged);
}

// For the ground of a folder Dolphin names the folder itself. What lies around an observed folder
// may not be observed.
std::optional<HostClient::MenuQuestion> DolphinExtension::questionOf(
    const std::vector<HostClient::Place>& places) {
  auto question = session_.question(kItems, places, commonFolder(places));
  if (question || places.size() != 1 || !places.front().isFolder) return question;
  return session_.question(kContainer, {}, places.front().path);
}

std::optional<DolphinExtension::Menu> DolphinExtension::menu(
    const std::vector<HostClient::Place>& places) {
  std::optional<HostClient::MenuQuestion> question;
  // Asks as soon as there is somebody to ask.
  const auto isAnswered = [&] {
    if (!session_.client().isReady()) return false;
    if (!question) {
      question = questionOf(places);
      if (question) session_.menu(*question, HostClient::Clock::now());
    }
    return !question || !session_.isAsking(*question);
  };
  const auto serve = [this](const std::function<bool()>& done, std::chrono::milliseconds limit) {
    return driver_.serveUntil(done, limit);
  };
  if (driver_.connectNow()) wait_.wait(isAnswered, serve, HostClient::Clock::now());
  if (!question) return std::nullopt;
  auto items = session_.menu(*question, HostClient::Clock::now());
  if (!items || items->empty()) return std::nullopt;
  return Menu{*std::move(question), std::move(items)};
}

}  // namespace kelpie::filemanagers
