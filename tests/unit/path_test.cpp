#include "platform/path.hpp"

#include <gtest/gtest.h>

#include "contract/path_examples.hpp"

namespace quillmark {

TEST(Path, AppendingPutsOneSeparatorBetweenBaseAndComponent) {
  for (const auto &[base, component, joined] : contract::appendingExamples) {
    EXPECT_EQ(stringByAppendingPathComponent(base, component), joined) << base << " and " << component;
  }
}

TEST(Path, DeletingTheLastComponentLeavesTheParent) {
  for (const auto &[path, parent] : contract::deletingExamples) {
    EXPECT_EQ(stringByDeletingLastPathComponent(path), parent) << path;
  }
}

}  // namespace quillmark
