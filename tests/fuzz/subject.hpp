#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillmark::fuzz {

/// An input is texts with a caret between them, so that a corpus can be read.
using Texts = std::vector<std::string>;

/// There are always as many as are asked for: those that an input lacks are empty.
inline std::string at(const Texts &texts, std::size_t index) { return index < texts.size() ? texts[index] : ""; }

/// What each subject defines: holds the behaviour against properties that are true of every input.
void check(const Texts &texts);

}  // namespace quillmark::fuzz
