#pragma once

#include <cstdlib>
#include <string>

#include "platform/error.hpp"

namespace quillmark::fuzz {

/// The error that a text stands for: its code, in decimal, and then its domain.
inline Error errorOf(const std::string &text) {
  char *domain = nullptr;
  const long code = std::strtol(text.c_str(), &domain, 10);
  return {.domain = text.substr(static_cast<std::size_t>(domain - text.c_str())),
          .code = code,
          .localizedDescription = "not for the log"};
}

/// Its line in the log, with the low 32 bits of the code in two's complement.
inline std::string lineOf(const Error &error) {
  const long low = error.code & 0xFFFFFFFFL;
  const long shown = low < 0x80000000L ? low : low - 0x100000000L;
  return "error " + error.domain + " / " + std::to_string(shown) + "\n";
}

}  // namespace quillmark::fuzz
