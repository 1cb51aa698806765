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

TEST(WindowAfterInstall, TheButtonReadsLaunchQuillmarkInAColourAndTheTermsAreHidden) {
  FakeMac mac;
  updateWindowAfterInstall(*mac.delegate);
  EXPECT_EQ(mac.journal, windowUpdate);
}

TEST(WindowAfterInstall, RunningTheUpdateTwiceLeavesTheSameWindow) {
  FakeMac mac;
  updateWindowAfterInstall(*mac.delegate);
  const auto title = mac.delegate->title;
  const auto hidden = mac.delegate->hidden;
  updateWindowAfterInstall(*mac.delegate);
  EXPECT_EQ(mac.delegate->title, title);
  EXPECT_EQ(mac.delegate->hidden, hidden);
  EXPECT_TRUE(mac.delegate->installed);
}

TEST(WindowAfterInstall, ThePostedUpdateNeverRunsInsideTheCall) {
  FakeMac mac;
  postUpdateWindowAfterInstall(mac.mainQueue, mac.delegate);
  EXPECT_EQ(mac.journal, Journal{"dispatchAsync"});
  mac.mainQueue.run();
  mac.journal.erase(mac.journal.begin());
  EXPECT_EQ(mac.journal, windowUpdate);
}

}  // namespace

}  // namespace quillmark
