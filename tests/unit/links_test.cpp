#include "window/links.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

TEST(Links, EachOpensItsPageOnTheVendorsHost) {
  FakeMac mac;
  termsAndConditionClicked(mac.workspace);
  privacyPolicyClicked(mac.workspace);
  EXPECT_EQ(mac.journal, (Journal{"openURL https://" QUILLMARK_VENDOR_HOST "/terms-and-conditions",
                                  "openURL https://" QUILLMARK_VENDOR_HOST "/privacy-policy-2/"}));
}

TEST(Links, ALinkThatCannotBeOpenedReportsNothing) {
  FakeMac mac;
  mac.workspace.succeeds = false;
  termsAndConditionClicked(mac.workspace);
  privacyPolicyClicked(mac.workspace);
  EXPECT_TRUE(mac.console.lines.empty());
  EXPECT_TRUE(mac.alertPanel.shown.empty());
}

}  // namespace

}  // namespace quillmark
