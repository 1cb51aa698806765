#pragma once

#import <Foundation/Foundation.h>

#include <utility>

namespace quillmark::cocoa {

/// One reference to an Objective-C object under manual retain/release.
template <typename Object>
class Retained {
 public:
  Retained() = default;

  /// Takes over a reference that the caller owns, as alloc, new and copy return it.
  static Retained assume(Object *object) { return Retained(object); }

  /// Adds a reference of its own.
  static Retained retain(Object *object) { return Retained([object retain]); }

  Retained(const Retained &other) : object_([other.object_ retain]) {}
  Retained(Retained &&other) noexcept : object_(std::exchange(other.object_, nil)) {}
  Retained &operator=(Retained other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Retained() { [object_ release]; }

  [[nodiscard]] Object *get() const { return object_; }

 private:
  explicit Retained(Object *object) : object_(object) {}

  Object *object_ = nil;
};

}  // namespace quillmark::cocoa
