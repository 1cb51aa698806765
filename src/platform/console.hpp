#pragma once

#include <string>

namespace quillmark {

/// The system console log.
class Console {
 public:
  virtual ~Console() = default;

  /// Writes one line of UTF-8 text, as it stands, with NSLog. Any thread.
  virtual void log(const std::string &text) = 0;
};

}  // namespace quillmark
