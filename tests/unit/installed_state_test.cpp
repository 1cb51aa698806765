#include "window/installed_state.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const Journal windowUpdate = {"didInstall = YES",    "installButtonTitle = Launch Quillmark (0.2 0.8 0.2 1)",
                              "hide andText",        "hide privacyTextOutlet",
                              "hide checkboxOutlet", "hide linkBtnOutlet",
                              "hide TCLabel"};

TEST(WindowAfterInstall, ThePostedUpdateRunsBehindTheCallAndShowsLaunchQuillmarkInAColourWithoutTheTerms) {
  FakeMac mac;
  for (int update = 0; update < 2; ++update) {
    mac.journal.clear();
    postUpdateWindowAfterInstall(mac.mainQueue, mac.delegate);
    EXPECT_EQ(mac.journal, Journal{"dispatchAsync"});
    mac.journal.clear();
    mac.mainQueue.run();
    EXPECT_EQ(mac.journal, windowUpdate);
  }
}

}  // namespace

}  // namespace quillmark
