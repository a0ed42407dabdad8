#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "protocol/hostlink/HostLines.h"

// The lines of the host link as text: one JSON object on one line, UTF-8. Bytes that come in are
// foreign: whatever they are, reading them takes time and memory of their length. Any thread.
namespace kelpie::hostlink {

// The line of a message, its "\n" included. Bytes that are not UTF-8 read as U+FFFD.
std::string lineOf(const HostLine& message);
std::string lineOf(const ExtensionLine& message);

// What a line of a host says.
struct HostLineReading {
  // Missing when it says nothing, for the reason that `problem` gives.
  std::optional<HostLine> line;
  // The number of the line, also where the rest of it was not understood; null without one.
  Number id;
  // Whether the type is known: the line is missing for its arguments, if at all.
  bool isTypeKnown = false;
  std::string problem;
};
HostLineReading readHostLine(std::string_view text);

// What a line of the extension says. Missing when it is no JSON object, or nests too deep. What is
// missing in it or of another kind reads as empty; an element of a list of badges or URLs that is
// none is left out, an item of a menu keeps its place whatever it holds.
std::optional<ExtensionLine> readExtensionLine(std::string_view text);

}  // namespace kelpie::hostlink
