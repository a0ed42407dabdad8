#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "cli/link/Deadline.h"
#include "linux/base/LineReader.h"
#include "linux/base/UniqueFd.h"

namespace kelpie::cli {

// The connection to the extension: JSON objects, one on a line, each way. What comes in is not
// trusted: lines that are too long, no JSON object or nested too deep are dropped and counted.
// Main thread; blocks as each operation says.
class HostLink {
 public:
  static constexpr std::size_t kMaximumLine = std::size_t{16} << 20U;
  // Menus nest 64 levels at the most, and each takes three of JSON.
  static constexpr int kMaximumNesting = 256;

  enum class Event : std::uint8_t {
    Message,  // one came
    Quiet,    // none did in time
    Ended,    // the extension has closed the connection; nothing more comes
    Other,    // one of the other descriptors became readable
  };

  // Connects to the socket; null, with the system's error number, when nobody of this user listens.
  static std::unique_ptr<HostLink> connect(const std::string& path, int& error);

  // Sends a line; waits for at most ten seconds while the extension does not read. False when the
  // connection is of no more use.
  bool send(const nlohmann::json& message);
  // Waits for the next message until `deadline`; not at all when one has come already. `others` are
  // descriptors that end the wait as well, two at the most.
  Event receive(nlohmann::json& message, Clock::time_point deadline,
                std::initializer_list<int> others = {});
  // How many lines were dropped so far.
  std::size_t droppedLines() const { return dropped_; }

 private:
  explicit HostLink(UniqueFd socket) : socket_(std::move(socket)), lines_(kMaximumLine) {}

  // Takes in what has arrived. False at the end of the connection.
  bool read();
  // The next message of those that have arrived.
  bool take(nlohmann::json& message);

  UniqueFd socket_;
  LineReader lines_;
  std::deque<std::string> arrived_;
  std::size_t dropped_ = 0;
};

}  // namespace kelpie::cli
