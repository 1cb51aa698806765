#pragma once

#include <string>

namespace quillmark {

/// The current user's folders: absolute UTF-8 paths that may or may not exist. Any thread.
class Directories {
 public:
  virtual ~Directories() = default;

  /// NSHomeDirectory(), without a trailing separator.
  [[nodiscard]] virtual std::string homeDirectory() = 0;

  /// The first of NSSearchPathForDirectoriesInDomains for the applications folder in the user's domain.
  [[nodiscard]] virtual std::string userApplicationsDirectory() = 0;

  /// NSTemporaryDirectory(); it may end in a separator.
  [[nodiscard]] virtual std::string temporaryDirectory() = 0;
};

}  // namespace quillmark
