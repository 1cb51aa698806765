#pragma once

#include <string>

namespace quillmark {

/// NSUUID. Any thread.
class UUIDs {
 public:
  virtual ~UUIDs() = default;

  /// The string form of a fresh random UUID.
  [[nodiscard]] virtual std::string UUIDString() = 0;
};

}  // namespace quillmark
