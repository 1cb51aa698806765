#pragma once

#include <string>

namespace quillmark {

/// An NSError or CFError. Texts are UTF-8; what the error lacks reads "(null)".
struct Error {
  std::string domain;
  long code = 0;
  std::string localizedDescription;
};

}  // namespace quillmark
