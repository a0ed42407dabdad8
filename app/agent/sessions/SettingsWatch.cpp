#include "agent/sessions/SettingsWatch.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kelpie::agent {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kQuietFiles{50};
constexpr int kMaximumLinks = 8;

}  // namespace

SettingsWatch::SettingsWatch(EventLoop& loop, SerialQueues& queues, DirectoryWatcher& names,
                             Callbacks callbacks)
    : loop_(loop),
      names_(names),
      callbacks_(std::move(callbacks)),
      client_(names.addClient([this](const DirectoryWatcher::Event& event) { happened(event); })),
      queue_(queues.makeQueue("org.kelpie.Kelpie.SettingsQueue")) {
  find();
}

SettingsWatch::~SettingsWatch() { names_.removeClient(client_); }

// The watcher lives as long as the process; this may not.
void SettingsWatch::find() {
  queue_->post([this, alive = std::weak_ptr<bool>(alive_), main = loop_.queue(), &names = names_,
                client = client_, files = callbacks_.files] {
    main->post([this, alive, places = watchAll(files(), names, client)] {
      if (alive.expired()) return;
      // What happened in a new place before it was watched went unseen.
      const bool hasNew = !std::ranges::includes(places_, places);
      places_ = places;
      if (!std::exchange(isWatching_, true)) {
        if (callbacks_.watching) callbacks_.watching();
      } else if (hasNew) {
        callbacks_.changed();
      }
    });
  });
}

// The nearest existing folder above tells when an absent item comes.
SettingsWatch::Places SettingsWatch::watchAll(const std::vector<std::string>& files,
                                              DirectoryWatcher& names,
                                              DirectoryWatcher::Client client) {
  Places places;
  for (const std::string& file : files) {
    fs::path at(file);
    for (int links = 0; links < kMaximumLinks; ++links) {
      std::error_code error;
      fs::path folder = at.parent_path();
      fs::path name = at.filename();
      for (; folder.has_relative_path() && !fs::is_directory(folder, error);
           folder = folder.parent_path())
        name = folder.filename();
      const fs::path real = fs::canonical(folder, error);
      if (error) break;
      names.add(client, real.string(), DirectoryWatcher::Interest::Writes);
      places.emplace(real.string(), name.string());
      const fs::path target = fs::read_symlink(at, error);
      if (error) break;
      at = (at.parent_path() / target).lexically_normal();
    }
  }
  return places;
}

void SettingsWatch::happened(const DirectoryWatcher::Event& event) {
  using Kind = DirectoryWatcher::Event::Kind;
  const bool concernsFolder =
      event.kind == Kind::FolderGone &&
      std::ranges::any_of(places_, [&](const auto& place) { return place.first == event.folder; });
  if (!concernsFolder && event.kind != Kind::Lost && !places_.contains({event.folder, event.name}))
    return;
  if (event.kind == Kind::FolderGone) names_.remove(client_, event.folder);
  if (timer_ != nullptr) return;
  timer_ = loop_.callAfter(kQuietFiles, [this] {
    timer_.reset();
    find();
    callbacks_.changed();
  });
}

}  // namespace kelpie::agent
