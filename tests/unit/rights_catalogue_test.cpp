#include "rights/rights_catalogue.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/fake_mac.hpp"

namespace quillmark {

namespace {

using fake::FakeAuthorizationDatabase;
using fake::FakeMac;
using fake::Journal;

const std::string installRight = "com.example.apple-samplecode.EBAS.install";
const std::string bindRight = "com.example.apple-samplecode.EBAS.startWebService2";
const std::string installText = "Install Quillmark is trying to install its components.";
const std::string bindText = "EBAS is trying to start its web service.";

const GuardedCommands commands = {.install = "install:authorization:withReply:",
                                  .bindToLowNumberPort = "bindToLowNumberPortAuthorization:withReply:"};

class Rights : public testing::Test {
 protected:
  Journal registered() {
    setupAuthorizationRights(catalogue_, database_, nullptr);
    Journal sets;
    for (const std::string &call : database_.journal) {
      if (call.rfind("set ", 0) == 0) sets.push_back(call);
    }
    return sets;
  }

  FakeMac mac_;
  RightsCatalogue catalogue_ = makeRightsCatalogue(commands, mac_.mainBundle);
  FakeAuthorizationDatabase database_;

  const std::string setInstall_ = "set " + installRight + " to allow \"" + installText + "\" of Common";
  const std::string setBind_ = "set " + bindRight + " to authenticate-admin \"" + bindText + "\" of Common";
};

TEST_F(Rights, ACommandHasTheRightOfItsRowWhateverItsNameAndNoneWithoutARow) {
  EXPECT_EQ(authorizationRightForCommand(catalogue_, commands.install), installRight);
  EXPECT_EQ(authorizationRightForCommand(catalogue_, commands.bindToLowNumberPort), bindRight);
  catalogue_ = makeRightsCatalogue({.install = "renamed:", .bindToLowNumberPort = "bind:"}, mac_.mainBundle);
  EXPECT_EQ(authorizationRightForCommand(catalogue_, "renamed:"), installRight);
  for (const char *command : {"install:authorization:withReply:", "getVersionWithReply:", ""}) {
    EXPECT_EQ(authorizationRightForCommand(catalogue_, command), std::nullopt) << command;
  }
}

TEST_F(Rights, TheWalkVisitsEachRowOnceWithItsValues) {
  Journal visits;
  enumerateRights(catalogue_, [&](const std::string &name, const std::string &rule, const std::string &description) {
    visits.push_back(name + " | " + rule + " | " + description);
  });
  std::sort(visits.begin(), visits.end());
  EXPECT_EQ(visits,
            (Journal{installRight + " | allow | " + installText, bindRight + " | authenticate-admin | " + bindText}));
}

TEST_F(Rights, EachDescriptionIsLookedUpOnceAndItsTranslationIsHandedToTheDatabase) {
  EXPECT_EQ(mac_.mainBundle.lookedUp, (std::vector<std::string>{installText, bindText}));
  mac_.mainBundle.translations[installText] = "Quillmark m\u00f6chte seine Komponenten installieren.";
  catalogue_ = makeRightsCatalogue(commands, mac_.mainBundle);
  EXPECT_TRUE(fake::contains(registered(), "set " + installRight + " to allow \"" +
                                               mac_.mainBundle.translations[installText] + "\" of Common"));
  EXPECT_EQ(mac_.mainBundle.lookedUp.size(), 4U) << "two for each catalogue";
}

TEST_F(Rights, RegisteringOnAnEmptyDatabaseSetsBoth) {
  for (const Status status : {errAuthorizationSuccess, -60007}) {
    database_.journal.clear();
    database_.setStatus = status;
    EXPECT_EQ(registered(), (Journal{setInstall_, setBind_})) << "a registration that fails is ignored";
  }
}

TEST_F(Rights, RegisteringWhenBothExistSetsNothing) {
  // And where the database says anything else but that they are denied.
  for (const Status status : {errAuthorizationSuccess, -60001, -60004, -60006, -60007, -60008, -60031, 1, -1, 60005}) {
    database_.statuses = {{installRight, status}, {bindRight, status}};
    EXPECT_TRUE(registered().empty()) << status;
  }
}

TEST_F(Rights, WhenOnlyOneIsMissingThatOneIsSet) {
  database_.statuses = {{installRight, errAuthorizationSuccess}};
  EXPECT_EQ(registered(), Journal{setBind_});
  database_.journal.clear();
  database_.statuses = {{bindRight, errAuthorizationSuccess}};
  EXPECT_EQ(registered(), Journal{setInstall_});
}

TEST_F(Rights, TheAuthorizationGivenIsTheOneHandedOver) {
  int authorization = 0;
  setupAuthorizationRights(catalogue_, database_, &authorization);
  EXPECT_EQ(database_.authorization, &authorization);
}

}  // namespace

}  // namespace quillmark
