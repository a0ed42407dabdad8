#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "agent/link/ExtensionPort.h"
#include "foundation/ThreadBound.h"

namespace kelpie::agent {

// The extensions that have spoken to this application, by the names of their ports. Main thread.
class ExtensionPorts {
 public:
  // `group` is the application group. What `services` refers to outlives this.
  ExtensionPorts(const ExtensionPort::Services& services, std::string group)
      : services_(services), group_(std::move(group)) {}

  // To be set before the first port is connected.
  void setCallbacks(ExtensionPort::Callbacks callbacks) { callbacks_ = std::move(callbacks); }

  // The port of that name, which is connected when it is new. Null, after a log line, when the name
  // is not that of an extension's port, nobody listens there, or there are too many already. A new
  // extension often replaces one that has ended, so ended ones are forgotten.
  std::shared_ptr<ExtensionPort> connect(const std::string& name);

  std::size_t count() const { return ports_.size(); }

  // Whether `name` is "<group>.Sync.<process id>": names come from messages, which anybody of this
  // user can send.
  bool isExtensionPort(std::string_view name) const;

  // How many extensions there may be at a time; usually one for each user.
  static constexpr std::size_t kMaximumPorts = 8;

 private:
  void forgetTheGone();
  void gone(const std::string& name);

  ExtensionPort::Services services_;
  const std::string group_;
  ExtensionPort::Callbacks callbacks_;
  std::map<std::string, std::shared_ptr<ExtensionPort>, std::less<>> ports_;
  ThreadBound thread_;
};

}  // namespace kelpie::agent
