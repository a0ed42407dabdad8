#pragma once

#include <span>
#include <string>
#include <string_view>

namespace kelpie {

// How calls fail: what the system may say where a program that is right can meet it.
class FaultErrors {
 public:
  // The errors for a kind of call as FaultShim.cpp names it, each a number or "short"; empty for a
  // kind that is not known.
  static std::span<const std::string> of(std::string_view call);
  // The name of one, for people.
  static std::string nameOf(const std::string& error);
};

}  // namespace kelpie
