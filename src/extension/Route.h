#pragma once

#include <algorithm>
#include <concepts>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/Object.h"
#include "foundation/URL.h"

namespace kelpie {

// The call of an operation. The argument is what the message held: nil, or of any class.
template <class T>
using Call = void (*)(T& target, const Object& argument);

// One operation, by the selector that names it.
template <class T>
struct Route {
  std::string_view selector;
  Call<T> call;
};

// Selectors that all name the same call.
template <class T>
struct SharedRoute {
  Call<T> call;
  std::span<const std::string_view> selectors;
};

// A selector that is known and has no effect.
template <class T>
void noEffect(T& /*target*/, const Object& /*argument*/) {}

// All selectors that one class of target knows; none stands there twice.
template <class T>
struct RouteTable {
  std::span<const Route<T>> operations;
  std::span<const SharedRoute<T>> actions;
  std::span<const std::string_view> withoutEffect;

  // The call that the selector names; null when it is unknown.
  Call<T> find(std::string_view selector) const {
    const auto route = std::ranges::find(operations, selector, &Route<T>::selector);
    if (route != operations.end()) return route->call;
    for (const SharedRoute<T>& shared : actions)
      if (std::ranges::find(shared.selectors, selector) != shared.selectors.end())
        return shared.call;
    const auto name = std::ranges::find(withoutEffect, selector);
    return name != withoutEffect.end() ? &noEffect<T> : nullptr;
  }

  // All selectors.
  std::vector<std::string_view> selectors() const {
    std::vector<std::string_view> all(withoutEffect.begin(), withoutEffect.end());
    for (const Route<T>& route : operations) all.push_back(route.selector);
    for (const SharedRoute<T>& shared : actions)
      all.insert(all.end(), shared.selectors.begin(), shared.selectors.end());
    return all;
  }
};

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
    if (const std::optional<URL> url = argument.url()) (target.*Member)(*url);
  }
};

template <class T, class Result, Result (T::*Member)(const URL&, const FileSystem&)>
struct Calling<Member> {
  static void call(T& target, const Object& argument) {
    if (const std::optional<URL> url = argument.url())
      (target.*Member)(*url, FileSystem::current());
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

}  // namespace kelpie
