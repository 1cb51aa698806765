#include "helper-client/blessing.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const std::string bless = "bless com.quillmark.customInstaller.Helper";

TEST(Blessing, EachTrueResultLogsSuccessAndActivatesTheApplication) {
  FakeMac mac;
  for (int blessing = 0; blessing < 2; ++blessing) {
    mac.journal.clear();
    installAction(mac.mac(), mac.delegate, nullptr);
    EXPECT_EQ(mac.journal, (Journal{bless, "addOperation", "activateIgnoringOtherApps"}));
  }
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, "success\nsuccess\n");
}

TEST(Blessing, AnyErrorIsWrittenToTheConsoleThenTheLogThenShownAndEndsTheApplicationWhateverTheAnswer) {
  for (const long code : {4L, -60006L}) {
    FakeMac mac;
    mac.serviceManagement.refusal = {.domain = "Domain", .code = code, .localizedDescription = "It couldn't be done."};
    mac.alertPanel.answer = 0;
    installAction(mac.mac(), mac.delegate, nullptr);

    EXPECT_EQ(mac.journal, (Journal{bless, "console It couldn't be done.", "addOperation", "alert Quillmark Installer",
                                    "terminate"}));
    const Alert &alert = mac.alertPanel.shown.front();
    EXPECT_EQ(alert.informativeText, "Could not authorize properly. The Installer will now quit.");
    EXPECT_EQ(alert.style, AlertStyle::critical);
    EXPECT_TRUE(alert.buttons.empty());
    mac.mainQueue.run();
    EXPECT_EQ(mac.delegate->log, "error Domain / " + std::to_string(code) + "\n");
  }
}

TEST(Blessing, TheAuthorizationIsHandedOnAsItStands) {
  FakeMac mac;
  const int authorization = 0;
  installAction(mac.mac(), mac.delegate, &authorization);
  EXPECT_EQ(mac.journal.front(), bless + " with an authorization");
}

}  // namespace

}  // namespace quillmark
