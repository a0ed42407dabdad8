#pragma once

#include <algorithm>
#include <concepts>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>

#include "foundation/Object.h"
#include "foundation/URL.h"

namespace kelpie {

// One operation that a message can call: the selector that names it, and the call. The argument is
// what the message held, and may be nil or of any class.
template <class T>
struct Route {
  std::string_view selector;
  void (*call)(T& target, const Object& argument);
};

// Calls the operation that `selector` names. False when no route does.
template <class T>
bool dispatch(T& target, std::type_identity_t<std::span<const Route<T>>> routes,
              std::string_view selector, const Object& argument) {
  const auto route = std::ranges::find(routes, selector, &Route<T>::selector);
  if (route == routes.end()) {
    return false;
  }
  route->call(target, argument);
  return true;
}

// The call of a member function with what it takes: the object as it came; a truth (no for what is
// none); a number (0 for what is none, the low bits where it is narrower); a record (null for what
// is none); a URL, without which nothing is called; or nothing.
template <auto Member>
struct Calling;

template <class T, class Result, Result (T::*Member)()>
struct Calling<Member> {
  static void call(T& target, const Object& /*argument*/) { (target.*Member)(); }
};

template <class T, class Result, Result (T::*Member)(const Object&)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) { (target.*Member)(argument); }
};

template <class T, class Result, Result (T::*Member)(bool)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) { (target.*Member)(argument.boolValue()); }
};

template <class T, class Result, std::signed_integral Number, Result (T::*Member)(Number)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) {
    (target.*Member)(static_cast<Number>(argument.integerValue()));
  }
};

template <class T, class Result, Result (T::*Member)(const URL&)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) {
    if (const std::optional<URL> url = argument.url()) {
      (target.*Member)(*url);
    }
  }
};

template <class T, class Result, Result (T::*Member)(const URL&, const FileSystem&)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) {
    if (const std::optional<URL> url = argument.url()) {
      (target.*Member)(*url, FileSystem::current());
    }
  }
};

template <class T, class Result, class Record, Result (T::*Member)(std::shared_ptr<const Record>)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) { (target.*Member)(argument.as<Record>()); }
};

template <auto Member>
inline constexpr auto calls = &Calling<Member>::call;

// The call of an operation of a part of the target: of what the target's member function `GetPart`
// points to.
template <auto GetPart, auto Member>
struct CallingPart;

template <class T, class Part, const std::shared_ptr<Part>& (T::*GetPart)() const, auto Member>
struct CallingPart<GetPart, Member> {
  static void call(T& target, const Object& argument) {
    Calling<Member>::call(*(target.*GetPart)(), argument);
  }
};

template <auto GetPart, auto Member>
inline constexpr auto callsPart = &CallingPart<GetPart, Member>::call;

// An operation that only answers, or that has nothing to take from a message. The message has
// found its target all the same.
template <class T>
void noEffect(T& /*target*/, const Object& /*argument*/) {}

}  // namespace kelpie
