#include "agent/link/ExtensionPorts.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "protocol/MessageKeys.h"

namespace kelpie::agent {
namespace {

constexpr std::size_t kLongestProcessId = 10;  // digits

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool ExtensionPorts::isExtensionPort(std::string_view name) const {
  const std::string prefix = group_ + "." + std::string(kExtensionPortComponent) + ".";
  if (!name.starts_with(prefix)) return false;
  const std::string_view pid = name.substr(prefix.size());
  return !pid.empty() && pid.size() <= kLongestProcessId && std::ranges::all_of(pid, isDigit);
}

std::shared_ptr<ExtensionPort> ExtensionPorts::connect(const std::string& name) {
  thread_.check();
  if (const auto found = ports_.find(name); found != ports_.end()) return found->second;
  Log& log = services_.loop.log();
  if (!isExtensionPort(name)) {
    log.write("a message names no port of an extension, dropped");
    return nullptr;
  }
  forgetTheGone();
  if (ports_.size() >= kMaximumPorts) {
    log.write("port " + name + ": too many extensions, not served");
    return nullptr;
  }
  std::shared_ptr<RemoteMessagePort> remote = services_.ports.createRemote(name);
  if (remote == nullptr) {
    log.write("port " + name + ": nobody listens");
    return nullptr;
  }
  auto port = std::make_shared<ExtensionPort>(
      services_, name, std::move(remote),
      ExtensionPort::Callbacks{[this](const std::string& ended) { gone(ended); },
                               [this](const std::string& renewed) {
                                 if (callbacks_.renewed) callbacks_.renewed(renewed);
                               }});
  ports_.emplace(name, port);
  return port;
}

void ExtensionPorts::forgetTheGone() {
  std::vector<std::string> ended;
  for (const auto& [name, port] : ports_)
    if (services_.ports.createRemote(name) == nullptr) ended.push_back(name);
  for (const std::string& name : ended) gone(name);
}

void ExtensionPorts::gone(const std::string& name) {
  // What is given may be the name that the port itself holds.
  const auto ended = ports_.extract(name);
  if (ended.empty()) return;
  services_.loop.log().write("port " + ended.key() + ": the extension is gone");
  if (callbacks_.gone) callbacks_.gone(ended.key());
}

}  // namespace kelpie::agent
