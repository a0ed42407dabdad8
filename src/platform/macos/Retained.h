#pragma once

#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <utility>

namespace kelpie {

// An Objective-C object that is kept: released when this goes. There is no reference counting by
// the compiler here. `Pointer` is the object's type as it is written there: NSString*, id.
template <class Pointer>
class Retained {
 public:
  Retained() = default;
  // Takes over the reference that alloc, new or copy has given to the caller.
  static Retained adopt(Pointer object) { return Retained(object); }
  // Keeps an object that somebody else has.
  static Retained keep(Pointer object) { return Retained([object retain]); }

  Retained(const Retained& other) : object_([other.object_ retain]) {}
  Retained(Retained&& other) noexcept : object_(std::exchange(other.object_, nil)) {}
  Retained& operator=(Retained other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Retained() { [object_ release]; }

  // Borrowed; nil when nothing is held.
  Pointer get() const { return object_; }

 private:
  explicit Retained(Pointer object) : object_(object) {}

  Pointer object_ = nil;
};

// The same for an object of CoreFoundation or Security that the caller has created or copied.
template <class Reference>
class CFRetained {
 public:
  CFRetained() = default;
  static CFRetained adopt(Reference object) { return CFRetained(object); }

  CFRetained(CFRetained&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  CFRetained& operator=(CFRetained&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  CFRetained(const CFRetained&) = delete;
  CFRetained& operator=(const CFRetained&) = delete;
  ~CFRetained() {
    if (object_ != nullptr) CFRelease(object_);
  }

  // Borrowed; null when nothing is held.
  Reference get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit CFRetained(Reference object) : object_(object) {}

  Reference object_ = nullptr;
};

// A CoreFoundation object as the Objective-C object that it is, and the other way round. Borrowed.
inline id objectOfCF(CFTypeRef object) { return static_cast<id>(const_cast<void*>(object)); }

template <class Reference>
Reference cfOf(id object) {
  return static_cast<Reference>(static_cast<void*>(object));
}

}  // namespace kelpie
