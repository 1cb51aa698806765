#include "helper-client/blessing.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

const std::string bless = "bless com.quillmark.customInstaller.Helper";

Error refusal(const std::string &domain, long code) {
  return {.domain = domain, .code = code, .localizedDescription = "The operation couldn't be completed."};
}

TEST(Blessing, ATrueResultLogsSuccessAndActivatesTheApplication) {
  FakeMac mac;
  installAction(mac.mac(), mac.delegate, nullptr);
  EXPECT_EQ(mac.journal, (Journal{bless, "addOperation", "activateIgnoringOtherApps"}));
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, "success\n");
}

TEST(Blessing, ASecondBlessingAfterASuccessDoesTheSameWithTheSameNullAuthorization) {
  FakeMac mac;
  installAction(mac.mac(), mac.delegate, nullptr);
  mac.journal.clear();
  installAction(mac.mac(), mac.delegate, nullptr);
  EXPECT_EQ(mac.journal, (Journal{bless, "addOperation", "activateIgnoringOtherApps"}));
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, "success\nsuccess\n");
}

TEST(Blessing, AFalseResultWritesTheConsoleThenTheLogThenShowsTheAlertThenTerminates) {
  FakeMac mac;
  mac.serviceManagement.refusal = refusal("CFErrorDomainLaunchd", 4);
  installAction(mac.mac(), mac.delegate, nullptr);

  EXPECT_EQ(mac.journal, (Journal{bless, "console The operation couldn't be completed.", "addOperation",
                                  "alert Quillmark Installer", "terminate"}));
  const Alert &alert = mac.alertPanel.shown.front();
  EXPECT_EQ(alert.informativeText, "Could not authorize properly. The Installer will now quit.");
  EXPECT_EQ(alert.style, AlertStyle::critical);
  EXPECT_TRUE(alert.buttons.empty());
  mac.mainQueue.run();
  EXPECT_EQ(mac.delegate->log, "error CFErrorDomainLaunchd / 4\n");
}

TEST(Blessing, EveryErrorEndsTheApplicationWhateverItsDomainOrCodeAndTheAlertsAnswer) {
  for (const Error &error : {refusal("CFErrorDomainLaunchd", 2), refusal("NSOSStatusErrorDomain", -60006),
                             refusal("NSPOSIXErrorDomain", 1), refusal("(null)", 0)}) {
    FakeMac mac;
    mac.serviceManagement.refusal = error;
    mac.alertPanel.answer = 0;
    installAction(mac.mac(), mac.delegate, nullptr);
    EXPECT_EQ(mac.journal.back(), "terminate") << error.domain;
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
