#pragma once

#include <optional>
#include <string>

namespace quillmark {

/// The process's standard NSUserDefaults. Any thread.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// What "%@" prints for the value under the key, in UTF-8; nothing when there is no value. An empty string is a
  /// value.
  [[nodiscard]] virtual std::optional<std::string> valueForKey(const std::string &key) = 0;
};

}  // namespace quillmark
