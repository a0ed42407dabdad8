#include "platform/linux/MessageFrame.h"

#include <algorithm>
#include <iterator>

namespace kelpie {
namespace {

constexpr std::uint8_t kMagic[] = {'K', 'P', 'M', '1'};
constexpr std::size_t kIdAt = 4;
constexpr std::size_t kLengthAt = 8;

template <class T>
void put(MessageFrame::Head& bytes, std::size_t at, T value) {
  for (std::size_t i = 0; i < sizeof value; ++i)
    bytes.at(at + i) = static_cast<std::uint8_t>(value >> (8 * i));
}

template <class T>
T get(const MessageFrame::Head& bytes, std::size_t at) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof value; ++i) value |= T{bytes.at(at + i)} << (8 * i);
  return value;
}

}  // namespace

MessageFrame::Head MessageFrame::toBytes() const {
  Head bytes{};
  std::copy(std::begin(kMagic), std::end(kMagic), bytes.begin());
  put(bytes, kIdAt, static_cast<std::uint32_t>(id));
  put(bytes, kLengthAt, length);
  return bytes;
}

std::optional<MessageFrame> MessageFrame::fromBytes(const Head& bytes) {
  if (!std::equal(std::begin(kMagic), std::end(kMagic), bytes.begin())) return std::nullopt;
  return MessageFrame{static_cast<std::int32_t>(get<std::uint32_t>(bytes, kIdAt)),
                      get<std::uint64_t>(bytes, kLengthAt)};
}

}  // namespace kelpie
