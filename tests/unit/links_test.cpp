#include "window/links.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

TEST(Links, EachOpensItsPageOnTheVendorsHostAndAFailureReportsNothing) {
  FakeMac mac;
  termsAndConditionClicked(mac.workspace);
  mac.workspace.succeeds = false;
  privacyPolicyClicked(mac.workspace);
  EXPECT_EQ(mac.journal, (Journal{"openURL https://" QUILLMARK_VENDOR_HOST "/terms-and-conditions",
                                  "openURL https://" QUILLMARK_VENDOR_HOST "/privacy-policy-2/"}));
}

}  // namespace

}  // namespace quillmark
