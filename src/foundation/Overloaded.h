#pragma once

namespace kelpie {

// A visitor of a std::variant made of one lambda per case.
template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace kelpie
