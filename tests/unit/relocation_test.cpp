#include "probes/relocation.hpp"

#include <gtest/gtest.h>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeMac;
using fake::FakeURLs;
using fake::Journal;

const std::string framework = "/System/Library/Frameworks/Security.framework/Security";
const std::string original = "/Users/ann/Downloads/Quillmark Installer/Quillmark Installer.app";

/// A Mac that can relocate, and has.
class Relocation : public testing::Test {
 protected:
  Relocation() {
    mac_.application.version = 1404.5 + 100;
    mac_.dynamicLoader.flag = 1;
    mac_.dynamicLoader.originalPath = original;
    mac_.mainBundle.path = "/private/var/folders/T/AppTranslocation/1/d/Quillmark Installer.app";
  }

  ~Relocation() override { EXPECT_EQ(FakeURLs::alive, 0) << "every URL is to be released once"; }

  bool probe(URLRef *originalURL) {
    const OwnedURL url(mac_.urls, FakeURLs::create("/the/bundle"));
    return isTranslocated(mac_.mac(), url.get(), originalURL);
  }

  /// The probe's answer and the original path that it gives back.
  std::pair<bool, std::optional<std::string>> probe() {
    URLRef found = nullptr;
    const bool answer = probe(&found);
    const OwnedURL owned(mac_.urls, found);
    return {answer, mac_.urls.path(found)};
  }

  [[nodiscard]] bool asked(const std::string &call) const { return fake::contains(mac_.journal, call); }

  FakeMac mac_;
};

TEST_F(Relocation, ANullURLAnswersFalseAndAsksNothing) {
  EXPECT_FALSE(isTranslocated(mac_.mac(), nullptr, nullptr));
  EXPECT_TRUE(mac_.journal.empty());
}

TEST_F(Relocation, AppKit1404OrLowerAnswersFalseWithoutOpeningTheFramework) {
  for (const double version : {1187.0, 1404.0, 1404.9, 1404.999}) {
    mac_.application.version = version;
    EXPECT_FALSE(probe(nullptr)) << version;
  }
  EXPECT_TRUE(mac_.journal.empty()) << mac_.journal.front();
}

TEST_F(Relocation, OnAppKit1405TheFrameworkIsOpenedAskedAndClosed) {
  mac_.application.version = 1405.0;
  EXPECT_TRUE(probe(nullptr));
  EXPECT_EQ(mac_.journal, (Journal{"dlopen " + framework, "dlsym SecTranslocateIsTranslocatedURL", "dlclose"}));
}

TEST_F(Relocation, AnyFlagButZeroIsTrue) {
  for (const unsigned char flag : {1, 2, 0x80, 0xFF}) {
    mac_.dynamicLoader.flag = flag;
    EXPECT_EQ(probe(), std::pair(true, std::optional(original))) << static_cast<int>(flag);
  }
}

/// What the system lacks or answers, and what comes of it.
struct Answer {
  const char *name;
  void (*arrange)(fake::FakeDynamicLoader &system);
  bool isTranslocated;
  std::vector<std::string> askedFor;
  std::optional<std::string> original;
};

const std::string ask = "dlsym SecTranslocateIsTranslocatedURL";
const std::string askForOriginal = "dlsym SecTranslocateCreateOriginalPathForURL";

const Answer answers[] = {
    {"Relocated", [](auto & /*system*/) {}, true, {ask, askForOriginal, "dlclose"}, original},
    {"NotRelocated", [](auto &system) { system.flag = 0; }, false, {ask, "dlclose"}, std::nullopt},
    {"NoFramework", [](auto &system) { system.binaryExists = false; }, false, {}, std::nullopt},
    {"NoQuestion",
     [](auto &system) { system.missingSymbols = {"SecTranslocateIsTranslocatedURL"}; },
     false,
     {ask, "dlclose"},
     std::nullopt},
    {"NoOriginal",
     [](auto &system) { system.missingSymbols = {"SecTranslocateCreateOriginalPathForURL"}; },
     true,
     {ask, askForOriginal, "dlclose"},
     std::nullopt},
    {"FailsWithTheFlagSet", [](auto &system) { system.querySucceeds = false; }, true, {ask, "dlclose"}, std::nullopt},
};

class RelocationAnswer : public Relocation, public testing::WithParamInterface<Answer> {};

TEST_P(RelocationAnswer, IsTheFlagAndTheOriginalIfTheSystemConfirmsIt) {
  GetParam().arrange(mac_.dynamicLoader);
  EXPECT_EQ(probe(), std::pair(GetParam().isTranslocated, GetParam().original));
  Journal expected = GetParam().askedFor;
  expected.insert(expected.begin(), "dlopen " + framework);
  EXPECT_EQ(mac_.journal, expected);
}

INSTANTIATE_TEST_SUITE_P(Of, RelocationAnswer, testing::ValuesIn(answers),
                         [](const auto &info) { return info.param.name; });

TEST_F(Relocation, TheOutParameterIsLeftAloneUnlessTheSystemConfirms) {
  mac_.dynamicLoader.querySucceeds = false;
  int marker = 0;
  URLRef originalURL = &marker;
  EXPECT_TRUE(probe(&originalURL));
  EXPECT_EQ(originalURL, &marker);
}

TEST_F(Relocation, OnAppKit1404OrLowerTheComponentsAreLookedForBesideTheBundle) {
  mac_.application.version = 1404.9;
  mac_.fileManager.addFolder("/private/var/folders/T/AppTranslocation/1/d/components");
  EXPECT_TRUE(componentsArePresent(mac_.mac()));
  EXPECT_EQ(mac_.journal, Journal{"exists /private/var/folders/T/AppTranslocation/1/d/components"});
}

TEST(RelocationAlert, ItNamesTheOriginal) {
  const Alert alert = relocationAlert(original);
  EXPECT_EQ(alert.messageText, "Quillmark Installer Test alert");
  EXPECT_EQ(alert.informativeText,
            "The installer has been relocated. The original path is /Users/ann/Downloads/Quillmark Installer/Quillmark "
            "Installer.app. It will now continue using the original path as the base for looking for components");
  EXPECT_EQ(alert.style, AlertStyle::critical);
  EXPECT_TRUE(alert.buttons.empty());
  EXPECT_NE(relocationAlert(std::nullopt).informativeText.find("The original path is (null)."), std::string::npos);
}

void expectMissingComponentsAlert(const FakeMac &mac) {
  ASSERT_EQ(mac.alertPanel.shown.size(), 1U);
  const Alert &alert = mac.alertPanel.shown.front();
  EXPECT_EQ(alert.messageText, "Quillmark Installer Error");
  EXPECT_EQ(alert.informativeText, "The installer is missing the components folder. It will now quit.");
  EXPECT_EQ(alert.style, AlertStyle::critical);
  EXPECT_TRUE(alert.buttons.empty());
}

TEST_F(Relocation, TheComponentsAreLookedForBesideTheOriginalOnlyAndNoAlertTellsOfTheRelocation) {
  mac_.fileManager.addFolder("/private/var/folders/T/AppTranslocation/1/d/components");
  EXPECT_FALSE(componentsArePresent(mac_.mac()));
  expectMissingComponentsAlert(mac_);
  mac_.fileManager.addFolder("/Users/ann/Downloads/Quillmark Installer/components");
  EXPECT_TRUE(componentsArePresent(mac_.mac()));
  EXPECT_EQ(mac_.alertPanel.shown.size(), 1U);
}

TEST_F(Relocation, WithoutAnOriginalTheErrorAlertIsShownAndNoFileIsLookedFor) {
  mac_.dynamicLoader.originalPath = std::nullopt;
  EXPECT_FALSE(componentsArePresent(mac_.mac()));
  expectMissingComponentsAlert(mac_);
  for (const std::string &call : mac_.journal) EXPECT_NE(call.rfind("exists", 0), 0U) << call;
}

TEST_F(Relocation, AFirstCallThatFailsWithItsFlagSetFailsTheComponentsCheck) {
  mac_.dynamicLoader.querySucceeds = false;
  mac_.fileManager.addFolder("/Users/ann/Downloads/Quillmark Installer/components");
  EXPECT_FALSE(componentsArePresent(mac_.mac()));
  expectMissingComponentsAlert(mac_);
}

TEST(ComponentsCheck, BesideTheInstallerAFileOrALinkThatResolvesPassesAndNothingShowsTheAlertAndTerminatesNothing) {
  FakeMac mac;
  mac.mainBundle.path = "/Volumes/Other/Quillmark Installer.app";
  const std::string components = "/Volumes/Other/components";
  mac.fileManager.addFile(components);
  EXPECT_TRUE(componentsArePresent(mac.mac()));
  mac.fileManager.addLink(components, "/Applications");
  EXPECT_TRUE(componentsArePresent(mac.mac()));
  mac.journal.clear();
  mac.fileManager.addLink(components, "/nowhere");
  EXPECT_FALSE(componentsArePresent(mac.mac()));
  expectMissingComponentsAlert(mac);
  EXPECT_EQ(mac.journal, (Journal{"exists " + components, "alert Quillmark Installer Error"}));
}

}  // namespace

}  // namespace quillmark
