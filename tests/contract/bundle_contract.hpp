#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/foundation.hpp"

namespace quillmark::contract {

/// A bundle at `path()` with the resource "client.up.tunnelblick.sh" and the German of "Install" in its default strings
/// table.
class BundleSubject {
 public:
  virtual ~BundleSubject() = default;
  virtual Bundle &bundle() = 0;
  virtual std::string path() = 0;
};

using MakeBundleSubject = std::unique_ptr<BundleSubject> (*)();

class BundleContract : public testing::TestWithParam<MakeBundleSubject> {
 protected:
  std::unique_ptr<BundleSubject> subject_ = GetParam()();
};

TEST_P(BundleContract, TheBundlesPathHasNoTrailingSeparator) {
  EXPECT_EQ(subject_->bundle().bundlePath(), subject_->path());
}

TEST_P(BundleContract, AResourceWhoseNameHoldsDotsIsFound) {
  const auto resource = subject_->bundle().pathForResource("client.up.tunnelblick", "sh");
  ASSERT_TRUE(resource);
  EXPECT_EQ(resource->rfind(subject_->path() + "/", 0), 0U) << *resource;
  EXPECT_NE(resource->find("/client.up.tunnelblick.sh"), std::string::npos) << *resource;
}

TEST_P(BundleContract, AResourceOfAnotherNameOrTypeIsNothing) {
  EXPECT_EQ(subject_->bundle().pathForResource("client.down.tunnelblick", "sh"), std::nullopt);
  EXPECT_EQ(subject_->bundle().pathForResource("client.up.tunnelblick", "app"), std::nullopt);
}

TEST_P(BundleContract, ATextIsTranslatedByTheDefaultTableAndIsItselfWithoutATranslation) {
  EXPECT_EQ(subject_->bundle().localizedString("Install"), "Installieren");
  EXPECT_EQ(subject_->bundle().localizedString("Launch"), "Launch");
}

}  // namespace quillmark::contract
