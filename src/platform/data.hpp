#pragma once

#include <string>

namespace quillmark {

/// An NSData, carried but never looked into.
class Data {
 public:
  virtual ~Data() = default;

  /// What "%@" prints, in UTF-8.
  [[nodiscard]] virtual std::string description() const = 0;
};

}  // namespace quillmark
