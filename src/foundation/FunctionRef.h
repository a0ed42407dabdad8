#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace kelpie {

template <class Signature>
class FunctionRef;

// A borrowed callable, for callbacks that do not outlive the call they are passed to. Unlike
// std::function it never allocates, so a walk over a million entries can take one. The callable
// must live as long as the FunctionRef is called.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
 public:
  template <class Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef> &&
           std::is_invocable_r_v<Result, Callable&, Arguments...>)
      // Implicit, so that a lambda can be written where it is used.
      FunctionRef(Callable&& callable)  // NOLINT(google-explicit-constructor)
      : callable_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        call_([](void* stored, Arguments... arguments) -> Result {
          return (*static_cast<std::remove_reference_t<Callable>*>(stored))(
              std::forward<Arguments>(arguments)...);
        }) {}

  Result operator()(Arguments... arguments) const {
    return call_(callable_, std::forward<Arguments>(arguments)...);
  }

 private:
  void* callable_;
  Result (*call_)(void*, Arguments...);
};

}  // namespace kelpie
