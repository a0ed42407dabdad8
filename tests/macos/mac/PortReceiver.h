#pragma once

#include <string>

namespace kelpie {

// The argument with which this program is a receiver; the name of the port follows.
inline constexpr const char* kReceiverArgument = "--receive-from-port";

// Opens a port of that name, writes each message as "id: text" and a line break to the standard
// output, and ends with the message 0. The exit status: not 0 when there is no port to be had.
int receiveFromPort(const std::string& name);

}  // namespace kelpie
