#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "protocol/hostlink/HostLines.h"

// The lines of the host link as text: one JSON object on one line, UTF-8. Incoming bytes are
// foreign: reading them takes time and memory in proportion to their length, whatever they are. Any
// thread.
namespace kelpie::hostlink {

// The line of a message, its "\n" included. Bytes that are not UTF-8 read as U+FFFD.
std::string lineOf(const HostLine& message);
std::string lineOf(const ExtensionLine& message);

// What a line from a host says.
struct HostLineReading {
  // Absent when the line was not understood; `problem` says why.
  std::optional<HostLine> line;
  // The line's number, even when the rest was not understood; null without one.
  Number id;
  // Whether the type is known: the line is absent for its arguments, if at all.
  bool isTypeKnown = false;
  std::string problem;
};
HostLineReading readHostLine(std::string_view text);

// What a line from the extension says. Absent when it is not a JSON object, or nests too deep. A
// value that is absent or of another kind reads as empty. Wrong elements of a list of badges or
// URLs are left out; an item of a menu keeps its place whatever it holds.
std::optional<ExtensionLine> readExtensionLine(std::string_view text);

}  // namespace kelpie::hostlink
