#include "app/quit_confirmation.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::Journal;

constexpr int cancel = alertFirstButtonReturn + 1;

TEST(QuitConfirmation, BeforeInstallingItAsksAndOKTerminates) {
  FakeMac mac;
  doQuitApplication(mac.alertPanel, *mac.delegate);
  EXPECT_EQ(mac.journal, (Journal{"alert Quillmark Installer", "terminate"}));
  const Alert &alert = mac.alertPanel.shown.front();
  EXPECT_EQ(alert.informativeText, "Are you sure you want to quit Quillmark Installer ?");
  EXPECT_EQ(alert.style, AlertStyle::informational);
  EXPECT_EQ(alert.buttons, (std::vector<std::string>{"OK", "Cancel"}));
}

TEST(QuitConfirmation, AnyOtherAnswerDoesNothingEvenIfAnInstallationEndsMeanwhile) {
  for (const int answer : {cancel, 0, -1000, 1}) {
    FakeMac mac;
    mac.alertPanel.answer = answer;
    mac.alertPanel.meanwhile = [&] { mac.delegate->installed = true; };
    doQuitApplication(mac.alertPanel, *mac.delegate);
    EXPECT_EQ(mac.journal, Journal{"alert Quillmark Installer"}) << answer;
  }
}

TEST(QuitConfirmation, AfterInstallingItTerminatesWithoutAnyAlert) {
  FakeMac mac;
  mac.delegate->installed = true;
  doQuitApplication(mac.alertPanel, *mac.delegate);
  EXPECT_EQ(mac.journal, Journal{"terminate"});
}

}  // namespace

}  // namespace quillmark
