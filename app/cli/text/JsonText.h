#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>

namespace kelpie::cli {

// JSON output keeps the order in which it was put together.
using OrderedJson = nlohmann::ordered_json;

// Prints the value, indented, and ends the line. What is not ASCII is escaped, so that nothing in
// it can steer a terminal; bytes that are not UTF-8 become U+FFFD.
void printJsonText(std::ostream& out, const OrderedJson& value);

}  // namespace kelpie::cli
