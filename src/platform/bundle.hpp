#pragma once

#include <optional>
#include <string>

namespace quillmark {

/// The application's main NSBundle. Paths are absolute and UTF-8. Any thread.
class Bundle {
 public:
  virtual ~Bundle() = default;

  [[nodiscard]] virtual std::string bundlePath() = 0;

  /// The resource's path, or nothing when the bundle has no such resource.
  [[nodiscard]] virtual std::optional<std::string> pathForResource(const std::string &name,
                                                                   const std::string &type) = 0;

  /// The key's translation in the default strings table, or the key itself when it has none.
  [[nodiscard]] virtual std::string localizedString(const std::string &key) = 0;
};

}  // namespace quillmark
