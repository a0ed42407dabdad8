#include "cli/doctor/ServiceChecks.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

#include "Configuration.h"
#include "cli/link/BusClient.h"
#include "cli/link/ExtensionSession.h"
#include "cli/text/FilePath.h"
#include "linux/base/RuntimeDirectory.h"
#include "linux/base/UnixSocket.h"

namespace kelpie::cli {
namespace {

constexpr std::string_view kBus = "session bus";
constexpr std::string_view kExtension = "extension";
constexpr std::string_view kApplication = "main application";
constexpr std::string_view kNotifications = "notifications";
constexpr std::string_view kWatches = "watched folders";
constexpr std::string_view kDirectory = "runtime directory";
constexpr std::string_view kHostLink = "host link";
constexpr std::string_view kPort = "message port";

// Whether the process was stopped, as by SIGSTOP, so that it answers nothing.
bool isStopped(std::uint32_t process) {
  std::string line;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), line);
  // The name stands in parentheses and may hold some itself; the state follows it.
  const std::size_t name = line.rfind(") ");
  return name != std::string::npos && line.substr(name + 2, 1) == "T";
}

void addProcess(DoctorReport& report, std::string_view topic, std::uint32_t process) {
  const std::string number = std::to_string(process);
  if (isStopped(process))
    report.problem(topic, "is stopped, process " + number, "kill -CONT " + number);
  else
    report.good(topic, "runs, process " + number);
}

bool isSocket(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace

void ServiceChecks::run() {
  checkBus();
  checkRuntimeDirectory();
  if (!directoryIsGood_) return;
  checkHostLink();
  checkPorts();
}

void ServiceChecks::checkBus() {
  const auto bus = BusClient::connect();
  if (!bus) {
    report_.problem(kBus, "cannot be reached: " + bus.problem(),
                    "log in to a desktop session, or run the programs below dbus-run-session");
    return;
  }
  report_.good(kBus, "can be reached");
  const std::string extension(kExtensionIdentifier);
  extension_ = bus->ownerProcess(extension);
  if (extension_) {
    addProcess(report_, kExtension, *extension_);
  } else if (bus->canStart(extension)) {
    report_.good(kExtension, "does not run; the bus starts it when it is needed");
  } else {
    report_.problem(kExtension, "does not run, and the bus does not know how to start it",
                    "start it: kelpie-sync; or install its service file");
  }
  checkNotifications(*bus);
  const auto application = bus->ownerProcess(std::string(kApplicationIdentifier));
  if (application) {
    addProcess(report_, kApplication, *application);
    checkWatchesOf(*application);
  } else {
    report_.problem(kApplication, "does not run, so nothing has a badge", "start it: kelpie-agent");
  }
}

void ServiceChecks::checkNotifications(const BusClient& bus) {
  const std::string name = "org.freedesktop.Notifications";
  if (bus.ownerProcess(name) || bus.canStart(name)) {
    report_.good(kNotifications, "are shown by the desktop");
  } else {
    report_.warning(kNotifications, "no service shows any, so failures in file managers go unseen",
                    "install one, such as the package dunst; kelpie do tells how an action ended");
  }
}

// The limit is the user's, for all programs together; most of it is the main application's.
void ServiceChecks::checkWatchesOf(std::uint32_t process) {
  long limit = 0;
  if (!(std::ifstream("/proc/sys/fs/inotify/max_user_watches") >> limit)) return;
  const std::string folder = "/proc/" + std::to_string(process) + "/fdinfo";
  long used = 0;
  for (const std::string& name : FilePath::namesIn(folder).value_or(std::vector<std::string>())) {
    std::ifstream file(FilePath::join(folder, name));
    for (std::string line; std::getline(file, line);) used += line.starts_with("inotify ") ? 1 : 0;
  }
  const std::string text =
      std::to_string(used) + " of " + std::to_string(limit) + " watches are in use by it";
  // From here on some folder is not watched, or soon will not be.
  if (used >= limit - limit / 10) {
    report_.warning(kWatches, text + ": badges of large working copies may be late",
                    "sysctl fs.inotify.max_user_watches=" + std::to_string(2 * limit));
  } else {
    report_.good(kWatches, text);
  }
}

void ServiceChecks::checkRuntimeDirectory() {
  const std::string path = RuntimeDirectory().path();
  struct stat status = {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT)
      report_.good(kDirectory, path + " is not there yet; the programs make it");
    else
      report_.problem(kDirectory, path + ": " + std::strerror(errno), "check XDG_RUNTIME_DIR");
  } else if (!S_ISDIR(status.st_mode)) {
    report_.problem(kDirectory, path + " is no directory", "remove it");
  } else if (status.st_uid != ::geteuid()) {
    report_.problem(kDirectory, path + " belongs to another user", "remove it, or have it removed");
  } else if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    report_.problem(kDirectory, path + " is open to other users", "chmod 700 " + path);
  } else {
    report_.good(kDirectory, path);
    directoryIsGood_ = true;
  }
}

void ServiceChecks::checkHostLink() {
  const std::string path = RuntimeDirectory().finderSocket();
  const auto session = ExtensionSession::open(ExtensionSession::Start::Never);
  if (session) {
    const HostClient& client = (*session)->client();
    report_.good(kHostLink,
                 path + " answers, version " + std::to_string(hostlink::kVersion) +
                     "; observed folders: " + std::to_string(client.directories().size()));
  } else if (extension_) {
    report_.problem(kHostLink, path + ": " + session.problem(),
                    "end process " + std::to_string(*extension_) + " and start kelpie-sync again");
  } else if (isSocket(path)) {
    report_.good(kHostLink, path + " is left over; the extension replaces it");
  } else {
    report_.good(kHostLink, "no socket, since the extension does not run");
  }
}

void ServiceChecks::checkPorts() {
  const std::string folder = RuntimeDirectory().portsFolder();
  for (const std::string& name : FilePath::namesIn(folder).value_or(std::vector<std::string>())) {
    const bool answers =
        static_cast<bool>(UnixSocket::connect(FilePath::join(folder, name)).socket);
    report_.good(kPort, name + (answers ? " listens" : " is left over, which does no harm"));
  }
}

}  // namespace kelpie::cli
