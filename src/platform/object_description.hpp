#pragma once

#include <optional>
#include <string>

namespace quillmark {

/// What "%@" prints: the text itself, or the platform's placeholder for a null object.
[[nodiscard]] inline std::string objectDescription(const std::optional<std::string> &text) {
  return text ? *text : "(null)";
}

}  // namespace quillmark
