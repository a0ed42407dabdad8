#include <sys/socket.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "harness/FuzzTarget.h"
#include "harness/QuietLoop.h"
#include "harness/ReadingCost.h"
#include "platform/linux/PortConnection.h"

// What a program writes to a message port: frames, or anything else. The first byte says how many
// bytes come at a time, and whether each message is done before the next bytes come. Exactly the
// frames that are whole must be handed on, in order, until the first that is none; and a length
// that a head only claims must cost nothing.
namespace {

using namespace kelpie;

constexpr ReadingCost::Limits kPortLimits{
    .freeBytes = 160'000, .bytesPerByte = 8, .freeSteps = 30'000, .stepsPerByte = 64};

struct PortMessage {
  std::int32_t id = 0;
  Bytes payload;

  friend bool operator==(const PortMessage&, const PortMessage&) = default;
};

std::uint64_t littleEndian(FuzzTarget::Input bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i > 0; --i) value = value << 8U | bytes[i - 1];
  return value;
}

// The messages in the bytes, read in the simplest way. `isSound` becomes false where a frame is
// wrong or breaks off.
std::vector<PortMessage> framesIn(FuzzTarget::Input bytes, bool& isSound) {
  std::vector<PortMessage> messages;
  isSound = true;
  while (!bytes.empty()) {
    isSound = bytes.size() >= MessageFrame::kSize && textOf(bytes.first(4)) == "KPM1";
    if (!isSound) return messages;
    const std::uint64_t length = littleEndian(bytes.subspan(8, 8));
    const auto id = static_cast<std::uint32_t>(littleEndian(bytes.subspan(4, 4)));
    bytes = bytes.subspan(MessageFrame::kSize);
    isSound = length <= bytes.size();
    if (!isSound) return messages;
    const FuzzTarget::Input payload = bytes.first(length);
    messages.push_back({static_cast<std::int32_t>(id), Bytes(payload.begin(), payload.end())});
    bytes = bytes.subspan(length);
  }
  return messages;
}

void readFrames(FuzzTarget::Input input) {
  if (input.empty()) return;
  const bool isDoneLater = (input[0] & 1U) != 0;
  const std::size_t step = std::size_t{1} << (input[0] >> 1U) % 12;
  input = input.subspan(1);
  bool isSound = true;
  const std::vector<PortMessage> wanted = framesIn(input, isSound);

  QuietLoop& quiet = QuietLoop::shared();
  auto [writer, reader] = QuietLoop::sockets();
  std::vector<PortMessage> received;
  received.reserve(wanted.size());
  std::vector<LocalMessagePort::Completion> waiting;
  bool hasEnded = false;
  const int linesBefore = quiet.log().lines();
  const ReadingCost cost;
  auto connection = std::make_shared<PortConnection>(
      quiet.loop(), "port", std::move(reader),
      [&](std::int32_t id, const std::shared_ptr<const Bytes>& message,
          const LocalMessagePort::Completion& done) {
        received.push_back({id, *message});
        isDoneLater ? waiting.push_back(done) : done();
      },
      [&](const std::shared_ptr<PortConnection>&) { hasEnded = true; });
  connection->start();
  require(connection->sender().has_value());
  const auto runAll = [&] {
    do {
      for (const auto& done : std::exchange(waiting, {})) done();
      QuietLoop::runDue();
    } while (!waiting.empty());
  };
  for (std::size_t at = 0; at < input.size() && !hasEnded; at += step) {
    const FuzzTarget::Input piece = input.subspan(at, std::min(step, input.size() - at));
    // The buffer of a socket takes what is no longer than an input.
    require(::send(writer.get(), piece.data(), piece.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(piece.size()) ||
            hasEnded);
    runAll();
  }
  writer.reset();
  runAll();
  cost.check("PortFrameFuzz", input.size(), kPortLimits);
  require(hasEnded);
  require(received == wanted);
  require((quiet.log().lines() > linesBefore) == !isSound);
}

const FuzzTarget kPortFrameFuzz("PortFrameFuzz", readFrames);

}  // namespace
