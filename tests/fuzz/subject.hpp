#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace quillmark::fuzz {

/// An input is texts with a line of two hyphens between them, so that a corpus can be read.
using Texts = std::vector<std::string>;

/// There are always as many as are asked for: those that an input lacks are empty.
inline std::string at(const Texts &texts, std::size_t index) { return index < texts.size() ? texts[index] : ""; }

inline bool isASCII(const std::string &text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80U; });
}

/// What each subject defines: holds the behaviour against properties that are true of every input.
void check(const Texts &texts);

}  // namespace quillmark::fuzz
