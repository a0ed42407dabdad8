#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "foundation/ConditionVariable.h"
#include "linux/base/UniqueFd.h"
#include "platform/MessagePort.h"
#include "platform/linux/MessageFrame.h"

namespace kelpie {

// The sending end of a port: a connection to its socket. Any thread.
class LinuxRemoteMessagePort final : public RemoteMessagePort {
 public:
  // Null when nobody listens at `path`, or more wait there already than the listener lets. Messages
  // of more than `longestPayload` bytes are refused with kTransportError.
  static std::shared_ptr<LinuxRemoteMessagePort> connect(
      std::string path, std::uint64_t longestPayload = MessageFrame::kLongestPayload);

  // kIsInvalid once the other end has closed the connection, and whenever a new one that is due
  // fails. A frame that went out in part by its time-out costs the connection; the next one is sent
  // over a new connection. No platform here waits for the other end: `receiveTimeout` is not used.
  std::int32_t send(std::int32_t id, const Bytes& message, std::chrono::milliseconds sendTimeout,
                    std::chrono::milliseconds receiveTimeout) override;

 private:
  using Deadline = std::chrono::steady_clock::time_point;

  LinuxRemoteMessagePort(std::string path, UniqueFd socket, std::uint64_t longestPayload);
  std::int32_t sendFrame(std::int32_t id, const Bytes& message, Deadline deadline);
  bool waitUntilWritable(Deadline deadline) const;

  const std::string path_;
  const std::uint64_t longestPayload_;
  Mutex mutex_;
  ConditionVariable free_;
  bool busy_ KELPIE_GUARDED_BY(mutex_) = false;  // the thread that sets it owns the members below
  UniqueFd socket_;                              // empty after a frame that went out in part
  bool closed_ = false;                          // by the other end
};

}  // namespace kelpie
