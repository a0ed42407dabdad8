#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "cli/link/Deadline.h"
#include "foundation/ThreadBound.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::cli {

// The socket to the extension: bytes, each way. Main thread; blocks as each operation says.
class HostLink {
 public:
  enum class Event : std::uint8_t {
    Bytes,  // some came
    Quiet,  // none did in time
    Ended,  // the extension has closed the connection; nothing more comes
    Other,  // one of the other descriptors became readable
  };

  // Connects to the socket; null, with the system's error number, when nobody of this user listens.
  static std::unique_ptr<HostLink> connect(const std::string& path, int& error);

  // Sends the bytes; waits for at most ten seconds while the extension does not read. False when
  // the connection is of no more use.
  bool send(std::string_view bytes);
  // Waits for bytes until `deadline`; not at all when some have come already. `others` are
  // descriptors that end the wait as well, two at the most.
  Event receive(std::string& bytes, Clock::time_point deadline,
                std::initializer_list<int> others = {});

 private:
  explicit HostLink(UniqueFd socket) : socket_(std::move(socket)) {}

  UniqueFd socket_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
